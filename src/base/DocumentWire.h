#pragma once
#include <cstddef>
#include <cstdint>

/// What the client and its boxed document process say to each other: records of fixed size over a stream socket, in the
/// machine's own byte order. A request carries one open descriptor (SCM_RIGHTS); an answer is followed by its text.
namespace vennic::wire {

inline constexpr std::uint32_t magic = 0x444e4e56; // "VNND"
inline constexpr std::uint16_t version = 1;

/// Larger files are refused on both sides.
inline constexpr std::int64_t mostFileBytes = std::int64_t{64} << 20;
/// A PDF's text is cut here whatever was asked: a page's text has no bound of its own.
inline constexpr std::uint64_t mostPdfTextBytes = std::uint64_t{64} << 20;
/// One character of a text file or of RTF source becomes at most this many bytes of UTF-8.
inline constexpr std::uint64_t mostTextBytesPerByte = 3;

enum class Form : std::uint16_t { plainText = 1, rtf = 2, pdf = 3 };

enum class Outcome : std::uint16_t {
    text = 0,       // the text follows
    unreadable = 1, // `systemError` says why
    unparsable = 2,
    tooLarge = 3,
};

/// What the document process could give up before it reads its first document. Anything but `boxed` ends it.
enum class BoxState : std::uint16_t { boxed = 0, noLimits = 1, noPrivilegeLock = 2, noFileRules = 3, noCallFilter = 4 };

/// First record of the document process.
struct Hello {
    std::uint32_t magic = wire::magic;
    std::uint16_t version = wire::version;
    BoxState box = BoxState::boxed;
};

struct Request {
    std::uint32_t magic = wire::magic;
    std::uint16_t version = wire::version;
    Form form = Form::plainText;
    std::uint64_t number = 0;
    std::uint64_t mostCharacters = 0;
};

struct Answer {
    std::uint32_t magic = wire::magic;
    std::uint16_t version = wire::version;
    Outcome outcome = Outcome::text;
    std::uint64_t number = 0;
    std::uint64_t textBytes = 0;
    std::int64_t fileBytes = 0; // that were read
    std::int32_t systemError = 0;
    std::uint32_t truncated = 0; // 0 or 1
};

static_assert(sizeof(Hello) == 8 && sizeof(Request) == 24 && sizeof(Answer) == 40);

/// The most bytes of text that a file of this size can honestly give.
constexpr std::uint64_t mostTextBytes(Form form, std::int64_t fileBytes) {
    return form == Form::pdf ? mostPdfTextBytes : static_cast<std::uint64_t>(fileBytes) * mostTextBytesPerByte;
}

/// Processor time after which the client replaces a process between two requests, and at which the system ends it.
inline constexpr unsigned replaceAfterCpuSeconds = 60;
inline constexpr unsigned mostCpuSeconds = 90;

} // namespace vennic::wire
