#include "linux/MimeByExtension.h"

#include <gio/gio.h>
#include <memory>

namespace vennic {

namespace {

struct Free {
    void operator()(char* text) const { g_free(text); }
};
using Text = std::unique_ptr<char, Free>;

} // namespace

std::optional<QString> mimeByExtension(const QString& extension) {
    const QByteArray name = "x." + extension.toUtf8();
    gboolean uncertain = FALSE;
    const Text type(g_content_type_guess(name.constData(), nullptr, 0, &uncertain));
    if (!type || g_content_type_is_unknown(type.get()))
        return std::nullopt;
    const Text mime(g_content_type_get_mime_type(type.get()));
    return mime ? std::optional(QString::fromUtf8(mime.get())) : std::nullopt;
}

} // namespace vennic
