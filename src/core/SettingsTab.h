#pragma once
#include "core/Models.h"

namespace vennic {

/// The tabs of the settings window. The raw values stand in the preferences.
enum class SettingsTab { general, bridge, hallwarden, localLlm };
template <>
inline constexpr std::array allCases<SettingsTab> = {SettingsTab::general, SettingsTab::bridge, SettingsTab::hallwarden,
                                                     SettingsTab::localLlm};

constexpr QLatin1String rawValue(SettingsTab tab) {
    switch (tab) {
    case SettingsTab::general:
        break;
    case SettingsTab::bridge:
        return QLatin1String("bridge");
    case SettingsTab::hallwarden:
        return QLatin1String("hallwarden");
    case SettingsTab::localLlm:
        return QLatin1String("localLlm");
    }
    return QLatin1String("general");
}

} // namespace vennic
