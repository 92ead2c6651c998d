#pragma once
#include <QByteArray>
#include <QString>

#include <optional>

namespace vennic {

/// The kernel's bytes of a path; none for a path that no file can have: empty, relative, with a NUL, with half a
/// surrogate pair. A slash at the end is left off.
std::optional<QByteArray> nativePath(const QString& path);

} // namespace vennic
