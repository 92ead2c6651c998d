#include "backend/LocalCompletionStream.h"
#include "base/TransportError.h"

#include <cstdint>
#include <cstdlib>

using namespace vennic;

namespace {

LocalCompletionStream read(QByteArrayView bytes, qsizetype chunk, QString& pieces) {
    LocalCompletionStream stream;
    for (qsizetype at = 0; at <= bytes.size(); at += chunk) {
        stream.feed(bytes.sliced(at, std::min(chunk, bytes.size() - at)));
        if (at + chunk > bytes.size())
            stream.feedEnd();
        while (const auto text = stream.nextText())
            pieces += *text;
    }
    return stream;
}

} // namespace

// Whatever the bytes: the same in one chunk and in many, and no more than what came.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const QByteArrayView bytes(data, static_cast<qsizetype>(size));
    QString pieces;
    QString smallPieces;
    const auto whole = read(bytes, bytes.size() + 1, pieces);
    const auto parts = read(bytes, size > 0 ? 1 + data[size - 1] % 7 : 1, smallPieces);
    if (pieces != smallPieces || pieces != whole.text() || whole.toolCalls() != parts.toolCalls() ||
        whole.finishReason() != parts.finishReason() || whole.usage() != parts.usage() || whole.done() != parts.done())
        std::abort();
    qsizetype held = pieces.size();
    for (const LocalToolCall& call : whole.toolCalls())
        held += call.id.size() + call.name.size() + call.args.size();
    if (held > bytes.size())
        std::abort();
    return 0;
}
