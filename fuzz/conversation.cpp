#include "base/Json.h"
#include "core/ConversationEncoding.h"

#include <cstdint>
#include <cstdlib>

using namespace vennic;

/// A stored conversation: what is read is written and read again.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const QByteArray bytes(reinterpret_cast<const char*>(data), static_cast<qsizetype>(size));
    try {
        const auto messages = decodeConversation(bytes);
        const auto written = ConversationEncoding{}.encode(messages);
        if (!written || decodeConversation(*written) != messages)
            std::abort();
    } catch (const DecodingError&) { // NOLINT(bugprone-empty-catch): the one failure there is
    }
    return 0;
}
