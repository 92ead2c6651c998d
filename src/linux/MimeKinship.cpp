#include "linux/MimeKinship.h"

#include <QMimeDatabase>

#include <algorithm>
#include <array>

namespace vennic {

namespace {

bool is(const QMimeType& mime, QLatin1String ancestor) { return mime.name() == ancestor || mime.inherits(ancestor); }

bool isText(const QMimeType& mime) {
    return mime.name().startsWith(QLatin1String("text/")) || is(mime, QLatin1String("text/plain"));
}

bool isArchive(const QMimeType& mime) {
    static constexpr std::array archives{
        QLatin1String("application/zip"),     QLatin1String("application/x-tar"),
        QLatin1String("application/gzip"),    QLatin1String("application/x-7z-compressed"),
        QLatin1String("application/vnd.rar"), QLatin1String("application/x-bzip"),
        QLatin1String("application/x-xz"),    QLatin1String("application/zstd"),
        QLatin1String("application/x-cpio"),  QLatin1String("application/x-archive"),
    };
    return std::ranges::any_of(archives, [&](QLatin1String archive) { return is(mime, archive); });
}

struct Kind {
    QLatin1String type;
    bool (*holds)(const QMimeType&) = nullptr;
};

template <const char* Prefix>
bool startsWith(const QMimeType& mime) {
    return mime.name().startsWith(QLatin1String(Prefix));
}
constexpr char image[] = "image/";
constexpr char audio[] = "audio/";
constexpr char video[] = "video/";
constexpr char font[] = "font/";

constexpr std::array kinds{
    Kind{QLatin1String("public.text"), isText},
    Kind{QLatin1String("public.image"), startsWith<image>},
    Kind{QLatin1String("public.audio"), startsWith<audio>},
    Kind{QLatin1String("public.movie"), startsWith<video>},
    Kind{QLatin1String("public.font"), startsWith<font>},
    Kind{QLatin1String("public.archive"), isArchive},
};

} // namespace

QList<QLatin1String> mimeKinship(const QString& extension) {
    const QList<QMimeType> mimes = QMimeDatabase().mimeTypesForFileName(QStringLiteral("x.") + extension);
    QList<QLatin1String> parents{QLatin1String("public.data")};
    if (mimes.isEmpty())
        return parents;
    for (const Kind& kind : kinds)
        if (std::ranges::all_of(mimes, kind.holds))
            parents << kind.type;
    return parents;
}

} // namespace vennic
