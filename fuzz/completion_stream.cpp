#include "backend/CompletionStream.h"
#include "base/LineReader.h"

#include <cstdint>
#include <cstdlib>

using namespace vennic;

namespace {

struct Reading {
    ChatReply reply;
    QString deltas;
};

Reading read(QByteArrayView bytes, qsizetype chunk) {
    Reading reading;
    CompletionStream stream([&](const QString& delta) { reading.deltas += delta; });
    LineReader lines(1 << 20);
    for (qsizetype at = 0; at < bytes.size(); at += chunk) {
        lines.feed(bytes.sliced(at, std::min(chunk, bytes.size() - at)));
        while (const auto line = lines.next())
            stream.takeLine(*line);
    }
    reading.reply = stream.reply(7);
    return reading;
}

} // namespace

// Whatever the bytes: the same reply in one chunk and in many, no longer than what came.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const QByteArrayView bytes(data, static_cast<qsizetype>(size));
    const Reading whole = read(bytes, std::max<qsizetype>(bytes.size(), 1));
    const Reading parts = read(bytes, size > 0 ? 1 + data[size - 1] % 7 : 1);
    if (whole.reply != parts.reply || whole.deltas != parts.deltas)
        std::abort();
    if (whole.deltas.size() > bytes.size() || whole.reply.text.size() > bytes.size())
        std::abort();
    return 0;
}
