#pragma once
#include <QString>

#include <optional>

namespace vennic {

/// What shared-mime-info calls files of a lower-case extension; none for one that it doesn't know. GIO is asked, which
/// maps the system's cache: a hundred times quicker for the many extensions that nobody knows than parsing the data.
std::optional<QString> mimeByExtension(const QString& extension);

} // namespace vennic
