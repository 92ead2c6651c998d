#include "Bridge/LocalToolArguments.h"
#include "backend/LocalCompletionStream.h"
#include "base/TransportError.h"
#include "localllm/LocalChatRequest.h"
#include "localllm/LocalDirectClient.h"

#include <QJsonDocument>
#include <QJsonObject>

#include <cstdint>
#include <cstdlib>

using namespace vennic;

namespace {

QJsonArray callsIn(QByteArrayView bytes, qsizetype chunk) {
    LocalCompletionStream stream;
    for (qsizetype at = 0; at <= bytes.size(); at += chunk) {
        stream.feed(bytes.sliced(at, std::min(chunk, bytes.size() - at)));
        if (at + chunk > bytes.size())
            stream.feedEnd();
        while (stream.nextText())
            continue;
    }
    return LocalDirectClient::finishedToolCalls(stream.toolCalls(), [] { return QStringLiteral("id"); });
}

void require(bool held) {
    if (!held)
        std::abort();
}

/// Reads what the tools read.
void readArguments(const LocalToolArguments& arguments) {
    for (const QLatin1String key : {QLatin1String("query"), QLatin1String("folder_hints"), QLatin1String("limit")}) {
        const int kinds =
            (arguments.text(key) ? 1 : 0) + (arguments.integer(key) ? 1 : 0) + (arguments.texts(key) ? 1 : 0);
        require(kinds <= 1);
    }
}

} // namespace

// Whatever the bytes: the calls are the same in one chunk and in many, each is fit to be run and to be sent back, and
// arguments that are no JSON are none.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const QByteArrayView bytes(data, static_cast<qsizetype>(size));
    readArguments(LocalToolArguments(QString::fromUtf8(bytes)));
    const QJsonArray calls = callsIn(bytes, bytes.size() + 1);
    require(calls == callsIn(bytes, size > 0 ? 1 + data[size - 1] % 7 : 1));
    LocalChatRequest request(QStringLiteral("m"));
    request.addToolCalls(QString::fromUtf8(bytes), calls);
    for (const auto& element : calls) {
        const QJsonObject call = element.toObject();
        const QJsonObject function = call[QLatin1String("function")].toObject();
        const QString arguments = function[QLatin1String("arguments")].toString();
        require(!call[QLatin1String("id")].toString().isEmpty() && !call[QLatin1String("type")].toString().isEmpty());
        require(!function[QLatin1String("name")].toString().isEmpty() && !arguments.isEmpty());
        readArguments(LocalToolArguments(arguments));
        request.addToolResult(call[QLatin1String("id")].toString(), arguments);
    }
    const QJsonArray messages = QJsonDocument::fromJson(request.body()).object()[QLatin1String("messages")].toArray();
    require(messages.size() == 1 + calls.size());
    require(messages[0].toObject()[QLatin1String("tool_calls")].toArray() == calls);
    return 0;
}
