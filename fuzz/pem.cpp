#include "backend/PinnedRoots.h"

#include <cstdint>
#include <cstdlib>

using namespace vennic;

/// What is read is written in the plainest way and read again.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const auto ders =
        certificateDERs(QString::fromUtf8(reinterpret_cast<const char*>(data), static_cast<qsizetype>(size)));
    QString plain;
    for (const QByteArray& der : ders)
        plain += QStringLiteral("-----BEGIN CERTIFICATE-----\n%1\n-----END CERTIFICATE-----\n")
                     .arg(QString::fromLatin1(der.toBase64()));
    if (certificateDERs(plain) != ders)
        std::abort();
    return 0;
}
