#pragma once
#include "base/PhotoFacts.h"

#include <cstddef>
#include <cstdint>

/// What the client and its boxed processes say to each other: records of fixed size over a stream socket, in the
/// machine's own byte order. A request carries one open descriptor (SCM_RIGHTS); an answer is followed by its body.
///
/// Two programs speak it: vennic-worker reads texts, vennic-picture-worker everything that takes a picture library.
/// A form is added in four places: its value in `Form` and, where it takes any, its parameters here; its row in
/// `ceilingsOf`; a reader, and its row in the table of the program's main (src/worker); its check in AnswerCheck
/// (src/linux/worker).
namespace vennic::wire {

inline constexpr std::uint32_t magic = 0x444e4e56; // "VNND"
inline constexpr std::uint16_t version = 3;

/// What is asked of a document, what it takes and what it gives.
enum class Form : std::uint16_t {
    plainText = 1,   // mostCharacters -> UTF-8
    rtf = 2,         // mostCharacters -> UTF-8
    pdf = 3,         // mostCharacters -> UTF-8
    pdfPages = 4,    // -> PageCount; unparsable where the document has no page
    pdfPageText = 5, // page -> UTF-8, the page's text layer
    pdfPageScan = 6, // page -> RecognizedIn and UTF-8, the lines recognised on the page's picture
    imageText = 7,   // -> RecognizedIn and UTF-8, the lines recognised in an image
    thumbnail = 8,   // edge -> PictureSize and a PNG; unparsable where there is nothing to draw
    photoFacts = 9,  // -> PhotoFacts; what is no picture says so there
};

/// A form reads those that it takes; the others are 0.
struct Parameters {
    std::uint64_t mostCharacters = 0; // user-perceived
    std::uint32_t page = 0;           // from 0 on
    std::uint32_t edge = 0;           // pixels that no side exceeds, at most mostThumbnailEdge
    bool operator==(const Parameters&) const = default;
};

/// Body of pdfPages.
struct PageCount {
    std::uint32_t pages = 0;
};
inline constexpr std::uint32_t mostPages = 0x7fffffff; // Poppler counts in an int

/// Body of pdfPageScan and imageText: the languages that were looked for, and then the text.
struct RecognizedIn {
    std::uint32_t languages = 0; // bit i stands for recognitionLanguages[i]
};

/// Body of thumbnail: the size in pixels, which the PNG's header says too, and then the PNG.
struct PictureSize {
    std::uint32_t width = 0;
    std::uint32_t height = 0;
    bool operator==(const PictureSize&) const = default;
};
inline constexpr std::uint32_t mostThumbnailEdge = 1024;

enum class Outcome : std::uint16_t {
    done = 0,       // the body follows
    unreadable = 1, // `systemError` says why
    unparsable = 2,
    tooLarge = 3,    // the file is beyond its ceiling
    beyondBox = 4,   // the file, or what it unfolds to, takes more memory than the box allows
    unavailable = 5, // what the form needs isn't installed
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
    std::uint64_t document = 0; // the client's number of the open file, the same as long as it stays open
    Parameters parameters;
};

struct Answer {
    std::uint32_t magic = wire::magic;
    std::uint16_t version = wire::version;
    Outcome outcome = Outcome::done;
    std::uint64_t number = 0;
    std::uint64_t bodyBytes = 0;
    std::int64_t fileBytes = 0; // that were read
    std::int32_t systemError = 0;
    std::uint32_t truncated = 0; // 0 or 1; 1 only where a text was cut
};

static_assert(sizeof(Hello) == 8 && sizeof(Request) == 40 && sizeof(Answer) == 40 && sizeof(PageCount) == 4 &&
              sizeof(RecognizedIn) == 4 && sizeof(PictureSize) == 8);

/// What a form may be given, give and use. A form with a larger file is refused on both sides.
struct Ceilings {
    std::int64_t fileBytes = 0;
    std::uint64_t bodyBytes = 0;
    std::uint64_t bodyBytesPerFileByte = 0; // 0: the body's size has no bound in the file's
    unsigned cpuSeconds = 0;                // of one request
};

inline constexpr std::int64_t mebibyte = std::int64_t{1} << 20;
/// A PDF's text is cut here whatever was asked: a page's text has no bound of its own.
inline constexpr std::uint64_t mostPdfTextBytes = 64 * mebibyte;
/// A page of text holds some kilobytes; this is one of noise.
inline constexpr std::uint64_t mostRecognizedBytes = 4 * mebibyte;
/// The picture of a page that has no text layer, in pixels for each inch.
inline constexpr double recognitionDpi = 200;
/// The largest thumbnail, hardly compressed.
inline constexpr std::uint64_t mostThumbnailBytes = 5 * mebibyte;
/// What is mapped, not read, is bounded by the libraries, which count bytes in an int.
inline constexpr std::int64_t mostMappedBytes = 2048 * mebibyte - 1;

constexpr Ceilings ceilingsOf(Form form) {
    constexpr std::int64_t mostTextFile = 64 * mebibyte;
    // One character of a text file or of RTF source becomes at most three bytes of UTF-8.
    constexpr Ceilings texts{mostTextFile, 3 * mostTextFile, 3, 10};
    switch (form) {
    case Form::plainText:
    case Form::rtf:
        return texts;
    case Form::pdf:
        return {mostTextFile, mostPdfTextBytes, 0, 10};
    case Form::pdfPages:
        return {mostMappedBytes, sizeof(PageCount), 0, 10};
    case Form::pdfPageText:
        return {mostMappedBytes, mostPdfTextBytes, 0, 10};
    case Form::pdfPageScan:
    case Form::imageText:
        return {mostMappedBytes, mostRecognizedBytes, 0, 60};
    case Form::thumbnail:
        return {mostMappedBytes, mostThumbnailBytes, 0, 10};
    case Form::photoFacts:
        return {mostMappedBytes, sizeof(PhotoFacts), 0, 10};
    }
    return {};
}

/// The most bytes of body that a file of this size can honestly give.
constexpr std::uint64_t mostBodyBytes(Form form, std::int64_t fileBytes) {
    const Ceilings ceilings = ceilingsOf(form);
    const std::uint64_t inFile = static_cast<std::uint64_t>(fileBytes) * ceilings.bodyBytesPerFileByte;
    return ceilings.bodyBytesPerFileByte == 0 || inFile > ceilings.bodyBytes ? ceilings.bodyBytes : inFile;
}

/// How much processor time a process may use in its life: the client replaces it between two requests after the first
/// figure, and the system ends it at the second.
struct Life {
    unsigned replaceAfterCpuSeconds = 0;
    unsigned mostCpuSeconds = 0;
};
inline constexpr Life textLife{60, 90};
inline constexpr Life pictureLife{300, 390};

} // namespace vennic::wire
