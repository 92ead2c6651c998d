#include "core/HallwardenAnchor.h"

#include <cstdint>
#include <cstdlib>

using namespace vennic;

// Whatever the address: only the two roads of our own scheme lead anywhere, and a place that is one.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const QString address = QString::fromUtf8(reinterpret_cast<const char*>(data), static_cast<qsizetype>(size));
    for (const QUrl::ParsingMode mode : {QUrl::StrictMode, QUrl::TolerantMode}) {
        const QUrl url(address, mode);
        const auto anchor = anchorOfDesktopDeepLink(url);
        if (!anchor)
            continue;
        if (!url.isValid() || url.scheme() != QLatin1String("vennic") ||
            !fromRawValue<HallwardenAnchor>(QString(rawValue(*anchor))))
            std::abort();
        const QString road = url.host().toLower() + url.path().toLower();
        if (road == QLatin1String("local/setup") ? *anchor != HallwardenAnchor::localRuntime
                                                 : road != QLatin1String("desktop/hallwarden_panel"))
            std::abort();
        if (anchorOfDesktopDeepLink(QUrl(QString::fromUtf8(url.toEncoded()), QUrl::StrictMode)) != anchor)
            std::abort();
    }
    return 0;
}
