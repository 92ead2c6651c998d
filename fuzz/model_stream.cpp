#include "server/CompletionReader.h"

#include <algorithm>
#include <cstdint>
#include <cstdlib>

using namespace vennic::server;

namespace {

struct Reading {
    QString said;
    ModelRound round;
    QString error;
    bool operator==(const Reading&) const = default;
};

Reading read(QByteArrayView bytes, qsizetype chunk) {
    Reading reading;
    CompletionReader reader;
    for (qsizetype at = 0; at < bytes.size(); at += chunk)
        reading.said += reader.feed(bytes.sliced(at, std::min(chunk, bytes.size() - at)));
    try {
        reading.round = reader.round();
    } catch (const ModelError& error) {
        reading.error = error.errorDescription();
    }
    return reading;
}

} // namespace

// Whatever the bytes: the same in one chunk and in many, within its bounds, and what was said is the text.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const QByteArrayView bytes(data, static_cast<qsizetype>(size));
    const Reading whole = read(bytes, std::max<qsizetype>(bytes.size(), 1));
    if (whole != read(bytes, size > 0 ? 1 + data[size - 1] % 7 : 1))
        std::abort();
    if (whole.said.size() > bytes.size() || whole.round.calls.size() > mostToolCalls)
        std::abort();
    if (whole.error.isEmpty() && whole.said != whole.round.text)
        std::abort();
    return 0;
}
