// GIO's headers use "signals" as a name; they stand first, before Qt's.
#include "linux/thumbnail/ThumbnailerDesktop.h"

#include "linux/thumbnail/SandboxedCommand.h"
#include "linux/worker/BoxedThumbnail.h"
#include "linux/worker/WorkerLane.h"
#include "ports/DocumentReadError.h"

#include <QFile>
#include <QTemporaryDir>

#include <algorithm>
#include <cmath>
#include <gio/gio.h>
#include <limits>
#include <sys/eventfd.h>

namespace vennic {
namespace {

// The types of what the boxed process draws. Installed programs aren't asked for them.
constexpr std::array ownTypes{
    "image/png",
    "image/jpeg",
    "image/gif",
    "image/bmp",
    "image/x-bmp",
    "image/x-ms-bmp",
    "image/tiff",
    "image/webp",
    "image/heic",
    "image/heif",
    "image/avif",
    "image/svg+xml",
    "image/svg+xml-compressed",
    "application/pdf",
};

/// The MIME type by the name alone, as shared-mime-info has it.
QString typeOf(const QString& path) {
    const std::unique_ptr<char, decltype(&g_free)> content(
        g_content_type_guess(QFile::encodeName(path).constData(), nullptr, 0, nullptr), g_free);
    const std::unique_ptr<char, decltype(&g_free)> mime(g_content_type_get_mime_type(content.get()), g_free);
    return QString::fromUtf8(mime.get());
}

bool isOwn(const QString& type) {
    return std::ranges::any_of(ownTypes, [&type](const char* own) { return type == QLatin1String(own); });
}

} // namespace

ThumbnailerDesktop::ThumbnailerDesktop(std::shared_ptr<WorkerLane> pictures, QStringList dataFolders)
    : pictures_(std::move(pictures)), dataFolders_(std::move(dataFolders)),
      abandon_(eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)) {}

std::optional<Thumbnail> ThumbnailerDesktop::thumbnail(const QString& path, int edge, double scale,
                                                       std::stop_token stop) {
    const double pixels = std::clamp(edge * scale, 1.0, static_cast<double>(wire::mostThumbnailEdge));
    try {
        return draw(path, static_cast<int>(std::lround(pixels)), stop);
    } catch (const DocumentReadError&) {
        return std::nullopt;
    }
}

void ThumbnailerDesktop::close() {
    const std::uint64_t one = 1;
    [[maybe_unused]] const ssize_t written = write(abandon_.number(), &one, sizeof one);
}

std::optional<Thumbnail> ThumbnailerDesktop::draw(const QString& path, int edge, const std::stop_token& stop) {
    constexpr qint64 mostBytes = wire::ceilingsOf(wire::Form::thumbnail).fileBytes;
    const QString type = typeOf(path);
    const auto installed = isOwn(type) ? std::nullopt : installedThumbnailer(type, dataFolders_);
    if (!installed)
        return boxedThumbnail(*pictures_, OpenedDocument(path, mostBytes), edge, stop);
    const QTemporaryDir folder;
    const QString picture = folder.filePath(QStringLiteral("thumbnail"));
    // A file of any length, but a regular one: a device or a pipe would keep the program waiting.
    const OpenedDocument document(path, std::numeric_limits<qint64>::max());
    if (!QFile(picture).open(QIODevice::WriteOnly) || !runInstalled(*installed, document, picture, edge, stop))
        return std::nullopt;
    return boxedThumbnail(*pictures_, OpenedDocument(picture, mostBytes), edge, stop);
}

bool ThumbnailerDesktop::runInstalled(const InstalledThumbnailer& thumbnailer, const OpenedDocument& document,
                                      const QString& output, int edge, const std::stop_token& stop) const {
    const QByteArray inside = SandboxedCommand::inputInside(document.path());
    const SandboxedCommand command{.command = thumbnailer.command(inside, SandboxedCommand::outputInside(), edge)};
    return command.run(document, output, abandon_.number(), stop);
}

} // namespace vennic
