#include "linux/NativePath.h"

namespace vennic {

std::optional<QByteArray> nativePath(const QString& path) {
    if (!path.startsWith(u'/') || path.contains(QChar::Null) || !path.isValidUtf16())
        return std::nullopt;
    QByteArray bytes = path.toUtf8();
    while (bytes.size() > 1 && bytes.endsWith('/'))
        bytes.chop(1);
    return bytes;
}

} // namespace vennic
