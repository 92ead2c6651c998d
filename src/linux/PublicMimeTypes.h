#pragma once
#include <string_view>

namespace vennic {

/// The MIME type that a public identifier of files is best known by: the registered one (IANA) where there is one,
/// else that of shared-mime-info. Empty for an identifier that the table doesn't have.
std::string_view publicMimeType(std::string_view type);

} // namespace vennic
