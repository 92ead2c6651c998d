#include "Bridge/BridgeTypes.h"
#include "base/Json.h"

#include <QJsonDocument>

#include <cstdint>
#include <cstdlib>

using namespace vennic;

namespace {

void expect(bool holds) {
    if (!holds)
        std::abort();
}

void task(const QByteArray& json) {
    try {
        const BridgeTask decoded = decodeBridgeTask(json);
        expect(decoded.args.index() == static_cast<std::size_t>(decoded.kind));
        expect(decodeBridgeTask(encodeBridgeTask(decoded)) == decoded);
    } catch (const DecodingError&) { // NOLINT(bugprone-empty-catch): the one failure there is
    }
}

void result(BridgeTaskKind kind, const QByteArray& json) {
    try {
        const BridgeResult decoded = decodeBridgeResult(kind, json);
        const QJsonObject body = parseJsonObject(encodeBridgeSuccessBody(decoded));
        const QByteArray again = QJsonDocument(requiredObject(body, QLatin1String("result"))).toJson();
        expect(decodeBridgeResult(kind, again) == decoded);
    } catch (const DecodingError&) { // NOLINT(bugprone-empty-catch): the one failure there is
    }
}

} // namespace

/// A task, or, after a first byte below 13, the result of that kind: what is read is written and read again.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const QByteArray bytes(reinterpret_cast<const char*>(data), static_cast<qsizetype>(size));
    if (size > 0 && data[0] < 13)
        result(static_cast<BridgeTaskKind>(data[0]), bytes.sliced(1));
    else
        task(bytes);
    return 0;
}
