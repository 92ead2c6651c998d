#pragma once
#include <QByteArray>
#include <QList>

#include <array>
#include <cstdint>
#include <optional>

namespace vennic::test {

/// EXIF as a camera, or somebody who hates parsers, would write it.
struct ExifMaker {
    struct Entry {
        std::uint16_t tag = 0;
        std::uint16_t type = 2;
        std::uint32_t count = 0;
        QByteArray value; // in the file's byte order
    };
    QList<Entry> image = {};
    QList<Entry> photo = {};
    QList<Entry> place = {};
    bool isBigEndian = false;

    static Entry text(std::uint16_t tag, const QByteArray& value);
    /// As text, so that any nonsense can be written.
    ExifMaker& takenAt(const QByteArray& date, const QByteArray& offset = {}, const QByteArray& fraction = {});
    ExifMaker& digitizedAt(const QByteArray& date, const QByteArray& offset = {});
    /// Degrees, minutes and seconds, each a number over a number.
    using Coordinate = std::array<std::pair<std::uint32_t, std::uint32_t>, 3>;
    ExifMaker& at(const Coordinate& latitude, const char* latitudeLetter, const Coordinate& longitude,
                  const char* longitudeLetter);
    ExifMaker& at(std::uint32_t latitude, std::uint32_t longitude); // whole degrees north and east

    /// The block that begins with the TIFF header.
    QByteArray block() const;
};

/// Whole pictures of a few pixels with that EXIF, or any other bytes in its place.
QByteArray jpegWith(const QByteArray& exif = {});
QByteArray pngWith(const QByteArray& exif = {});
QByteArray webpWith(const QByteArray& exif = {});
QByteArray tiffWith(const ExifMaker& exif = {});
QByteArray gifPicture();
QByteArray bmpPicture();

/// A JPEG taken at that moment ("2024:07:14 12:30:45").
QByteArray jpegTaken(const QByteArray& date, const QByteArray& offset = {});

} // namespace vennic::test
