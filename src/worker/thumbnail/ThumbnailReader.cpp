#include "worker/thumbnail/ThumbnailReader.h"

#include "worker/thumbnail/DrawThumbnail.h"
#include "worker/thumbnail/Finish.h"

#include <glib.h>
#include <libheif/heif.h>
#include <mutex>

namespace vennic::worker {

namespace {

GLogWriterOutput dropWarning(GLogLevelFlags, const GLogField*, gsize, gpointer) { return G_LOG_WRITER_HANDLED; }

/// GLib asks the system where its warnings go before it writes one, and nobody reads them.
void silenceGLib() {
    static std::once_flag once; // GLib ends a process that asks twice
    std::call_once(once, [] { g_log_set_writer_func(dropWarning, nullptr, nullptr); });
}

} // namespace

void warmUpThumbnails() {
    silenceGLib();
    heif_init(nullptr); // its decoders may be modules
    // Text asks for the fonts and their tables, an embedded picture for the types of files.
    (void)drawThumbnail(R"(<svg xmlns="http://www.w3.org/2000/svg" width="9" height="9"><text>a</text>)"
                        R"(<image width="1" height="1" href="data:image/png;base64,iVBORw0KGgoAAAANSUhEUgAAAAEAAAAB)"
                        R"(CAAAAAA6fptVAAAACklEQVR4nGNgAAAAAgABSK+kcQAAAABJRU5ErkJggg=="/></svg>)",
                        16);
}

ReadResult readThumbnail(const Document& document, const wire::Parameters& parameters) {
    if (parameters.edge < 1 || parameters.edge > wire::mostThumbnailEdge)
        return ReadResult::unparsable();
    const Raster picture = drawThumbnail(document.bytes(), static_cast<int>(parameters.edge));
    const std::string png = picture ? encodePng(picture) : std::string();
    if (png.empty() || png.size() + sizeof(wire::PictureSize) > wire::mostThumbnailBytes)
        return ReadResult::unparsable();
    ReadResult result = ReadResult::record(
        wire::PictureSize{static_cast<std::uint32_t>(picture.width()), static_cast<std::uint32_t>(picture.height())});
    result.body += png;
    return result;
}

} // namespace vennic::worker
