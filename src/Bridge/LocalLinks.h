#pragma once
#include <QLatin1String>

namespace vennic {

/// How a document and a photo of this machine are named in a conversation: followed by a handle, and by the photo's
/// identifier, percent-encoded.
inline constexpr QLatin1String documentLink("vennic://local_file/open/");
inline constexpr QLatin1String photoLink("vennic://local_photo/view/");

} // namespace vennic
