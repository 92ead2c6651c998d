#include "linux/DynamicType.h"

#include <string_view>

namespace vennic {

namespace {

constexpr QLatin1String prefix("dyn.");
constexpr std::string_view digits = "abcdefghijklmnopqrstuvwxyz234567";
constexpr qsizetype longestType = 1024;

} // namespace

QString dynamicType(const QString& extension) {
    QString type = prefix;
    quint32 bits = 0;
    int count = 0;
    for (const char byte : extension.toUtf8()) {
        bits = bits << 8U | static_cast<unsigned char>(byte);
        for (count += 8; count >= 5; count -= 5)
            type += QLatin1Char(digits[bits >> static_cast<unsigned>(count - 5) & 31U]);
    }
    if (count > 0)
        type += QLatin1Char(digits[bits << static_cast<unsigned>(5 - count) & 31U]);
    return type;
}

bool isDynamicType(const QString& type) { return type.startsWith(prefix); }

QString extensionOfDynamicType(const QString& type) {
    if (!isDynamicType(type) || type.size() > longestType)
        return {};
    QByteArray utf8;
    quint32 bits = 0;
    int count = 0;
    for (const QChar digit : QStringView(type).sliced(prefix.size())) {
        const auto value = digits.find(digit.toLatin1());
        if (digit.unicode() > 127 || value == std::string_view::npos)
            return {};
        bits = bits << 5U | static_cast<quint32>(value);
        count += 5;
        if (count >= 8) {
            count -= 8;
            utf8 += static_cast<char>(bits >> static_cast<unsigned>(count) & 255U);
        }
    }
    return QUtf8StringView(utf8).isValidUtf8() ? QString::fromUtf8(utf8) : QString();
}

} // namespace vennic
