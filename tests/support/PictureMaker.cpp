#include "support/PictureMaker.h"

#include <QtEndian>

#include <zlib.h>

namespace vennic::test {

namespace {

template <class T>
QByteArray number(T value, bool isBigEndian) {
    const T stored = isBigEndian ? qToBigEndian(value) : qToLittleEndian(value);
    return {reinterpret_cast<const char*>(&stored), sizeof stored};
}
QByteArray big16(std::uint16_t value) { return number(value, true); }
QByteArray big32(std::uint32_t value) { return number(value, true); }
QByteArray little16(std::uint16_t value) { return number(value, false); }
QByteArray little32(std::uint32_t value) { return number(value, false); }

ExifMaker::Entry link(std::uint16_t tag, std::uint32_t to, bool isBigEndian) {
    return {tag, 4, 1, number(to, isBigEndian)};
}

/// A directory whose first byte stands at `at`, and what it points at.
QByteArray directory(const QList<ExifMaker::Entry>& entries, std::uint32_t at, bool isBigEndian) {
    QByteArray head = number(static_cast<std::uint16_t>(entries.size()), isBigEndian);
    QByteArray data;
    const auto behind = at + 2 + 12 * static_cast<std::uint32_t>(entries.size()) + 4;
    for (const ExifMaker::Entry& entry : entries) {
        head += number(entry.tag, isBigEndian) + number(entry.type, isBigEndian) + number(entry.count, isBigEndian);
        if (entry.value.size() <= 4) {
            head += entry.value.leftJustified(4, '\0');
            continue;
        }
        head += number(behind + static_cast<std::uint32_t>(data.size()), isBigEndian);
        data += entry.value;
        if (data.size() % 2 != 0)
            data += '\0';
    }
    return head + QByteArray(4, '\0') + data;
}

QByteArray chunk(const QByteArray& type, const QByteArray& data) {
    const QByteArray checked = type + data;
    const auto sum = crc32(0, reinterpret_cast<const Bytef*>(checked.constData()), static_cast<uInt>(checked.size()));
    return big32(static_cast<std::uint32_t>(data.size())) + checked + big32(static_cast<std::uint32_t>(sum));
}

QByteArray riffChunk(const QByteArray& type, const QByteArray& data) {
    return type + little32(static_cast<std::uint32_t>(data.size())) + data + QByteArray(data.size() % 2, '\0');
}

} // namespace

ExifMaker::Entry ExifMaker::text(std::uint16_t tag, const QByteArray& value) {
    return {tag, 2, static_cast<std::uint32_t>(value.size() + 1), value + '\0'};
}

ExifMaker& ExifMaker::takenAt(const QByteArray& date, const QByteArray& offset, const QByteArray& fraction) {
    photo.append(text(0x9003, date));
    if (!offset.isEmpty())
        photo.append(text(0x9011, offset));
    if (!fraction.isEmpty())
        photo.append(text(0x9291, fraction));
    return *this;
}

ExifMaker& ExifMaker::digitizedAt(const QByteArray& date, const QByteArray& offset) {
    photo.append(text(0x9004, date));
    if (!offset.isEmpty())
        photo.append(text(0x9012, offset));
    return *this;
}

ExifMaker& ExifMaker::at(const Coordinate& latitude, const char* latitudeLetter, const Coordinate& longitude,
                         const char* longitudeLetter) {
    const auto rationals = [this](const Coordinate& coordinate) {
        QByteArray bytes;
        for (const auto& [over, under] : coordinate)
            bytes += number(over, isBigEndian) + number(under, isBigEndian);
        return bytes;
    };
    place = {text(1, latitudeLetter),
             {2, 5, 3, rationals(latitude)},
             text(3, longitudeLetter),
             {4, 5, 3, rationals(longitude)}};
    return *this;
}

ExifMaker& ExifMaker::at(std::uint32_t latitude, std::uint32_t longitude) {
    return at({{{latitude, 1}, {0, 1}, {0, 1}}}, "N", {{{longitude, 1}, {0, 1}, {0, 1}}}, "E");
}

QByteArray ExifMaker::block() const {
    constexpr std::uint32_t first = 8;
    const auto size = [this](const QList<Entry>& entries) {
        return static_cast<std::uint32_t>(directory(entries, 0, isBigEndian).size());
    };
    QList<Entry> links = image;
    const std::uint32_t behind =
        first + size(image + QList<Entry>{link(0x8769, 0, isBigEndian), link(0x8825, 0, isBigEndian)});
    links.append(link(0x8769, behind, isBigEndian));
    links.append(link(0x8825, behind + size(photo), isBigEndian));
    return (isBigEndian ? QByteArray("MM\0*", 4) : QByteArray("II*\0", 4)) + number(first, isBigEndian) +
           directory(links, first, isBigEndian) + directory(photo, behind, isBigEndian) +
           directory(place, behind + size(photo), isBigEndian);
}

QByteArray jpegWith(const QByteArray& exif) {
    QByteArray segment;
    if (!exif.isEmpty())
        segment = "\xff\xe1" + big16(static_cast<std::uint16_t>(exif.size() + 8)) + QByteArray("Exif\0\0", 6) + exif;
    const QByteArray frame = "\xff\xc0" + big16(11) + '\x08' + big16(2) + big16(3) + QByteArray("\x01\x01\x11\0", 4);
    const QByteArray scan = "\xff\xda" + big16(8) + QByteArray("\x01\x01\0\0\x3f\0", 6) + "\x12\x34\x56";
    return "\xff\xd8" + segment + frame + scan + "\xff\xd9";
}

QByteArray pngWith(const QByteArray& exif) {
    const QByteArray header = big32(3) + big32(2) + QByteArray("\x08\0\0\0\0", 5);
    return QByteArray("\x89PNG\r\n\x1a\n") + chunk("IHDR", header) + (exif.isEmpty() ? exif : chunk("eXIf", exif)) +
           chunk("IDAT", qCompress(QByteArray(8, '\0')).mid(4)) + chunk("IEND", {});
}

QByteArray webpWith(const QByteArray& exif) {
    const QByteArray lossless("\x2f\x02\x40\0\0\x88\x88\x08", 8);
    QByteArray body = "WEBP";
    if (!exif.isEmpty())
        body += riffChunk("VP8X", QByteArray("\x08\0\0\0\x02\0\0\x01\0\0", 10));
    body += riffChunk("VP8L", lossless);
    if (!exif.isEmpty())
        body += riffChunk("EXIF", exif);
    return "RIFF" + little32(static_cast<std::uint32_t>(body.size())) + body;
}

QByteArray tiffWith(const ExifMaker& exif) {
    ExifMaker file = exif;
    const auto end = file.isBigEndian;
    const auto shortEntry = [&](std::uint16_t tag, std::uint16_t value) {
        return ExifMaker::Entry{tag, 3, 1, number(value, end)};
    };
    file.image = {shortEntry(0x0100, 3), shortEntry(0x0101, 2), shortEntry(0x0103, 1), link(0x0111, 0, end),
                  link(0x0117, 6, end)};
    // The strip stands at the end.
    file.image[3] = link(0x0111, static_cast<std::uint32_t>(file.block().size()), end);
    return file.block() + QByteArray(6, '\x7f');
}

QByteArray gifPicture() {
    return QByteArray("GIF89a\x01\0\x01\0\x80\0\0", 13) + QByteArray("\0\0\0\xff\xff\xff", 6) +
           QByteArray("\x21\xfe\x02hi\0", 6) + QByteArray("\x2c\0\0\0\0\x01\0\x01\0\0\x02\x02\x44\x01\0", 15) + "\x3b";
}

QByteArray bmpPicture() {
    return "BM" + little32(70) + little32(0) + little32(54) + little32(40) + little32(2) + little32(2) + little16(1) +
           little16(24) + QByteArray(24, '\0') + QByteArray(16, '\x7f');
}

QByteArray jpegTaken(const QByteArray& date, const QByteArray& offset) {
    return jpegWith(ExifMaker().takenAt(date, offset).block());
}

} // namespace vennic::test
