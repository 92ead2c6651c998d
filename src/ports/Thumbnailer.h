#pragma once
#include <QByteArray>
#include <QString>

#include <optional>
#include <stop_token>

namespace vennic {

/// A small picture of a file's content.
struct Thumbnail {
    QByteArray png; // ISO/IEC 15948, in sRGB
    int width = 0;  // pixels, as the PNG says
    int height = 0;
    bool operator==(const Thumbnail&) const = default;
};

/// Makes small pictures of files that nobody vetted.
class Thumbnailer {
public:
    virtual ~Thumbnailer() = default;
    /// A picture of what the file at `path` (absolute) shows, upright and undistorted, whose sides are at most `edge`
    /// points of `scale` pixels each. What is drawn to scale fills that square; a photo is never enlarged. Nothing when
    /// the file can't be read, is of a kind that has no picture, or is too large to be drawn, and soon after `stop`
    /// asks for an end. Blocks; may be called from several threads; never raises.
    virtual std::optional<Thumbnail> thumbnail(const QString& path, int edge, double scale, std::stop_token stop) = 0;
};

/// Where nothing can be drawn.
class NoThumbnailer final : public Thumbnailer {
public:
    std::optional<Thumbnail> thumbnail(const QString&, int, double, std::stop_token) override { return std::nullopt; }
};

} // namespace vennic
