#pragma once
#include "core/Models.h"

#include <QUrl>

namespace vennic {

/// A place in the trust panel that a link can lead to. The raw values stand in the preferences.
enum class HallwardenAnchor { summary, localRuntime, secureAccess, activity, approvals };
template <>
inline constexpr std::array allCases<HallwardenAnchor> = {HallwardenAnchor::summary, HallwardenAnchor::localRuntime,
                                                          HallwardenAnchor::secureAccess, HallwardenAnchor::activity,
                                                          HallwardenAnchor::approvals};
QLatin1String rawValue(HallwardenAnchor anchor);

/// The place that a link's word stands for, whatever its case; the summary for none and for any other word.
HallwardenAnchor hallwardenAnchor(const std::optional<QString>& section);

/// Where a link drives the program from outside: "vennic://desktop/hallwarden_panel", with an optional query item
/// "section", or "vennic://local/setup". None for any other link. Scheme, host and path are read whatever their case.
std::optional<HallwardenAnchor> anchorOfDesktopDeepLink(const QUrl& url);

} // namespace vennic
