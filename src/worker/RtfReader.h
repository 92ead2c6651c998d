#pragma once
#include "worker/CodePages.h"
#include "worker/RtfWords.h"

#include <cstdint>
#include <map>
#include <string>
#include <string_view>
#include <vector>

namespace vennic::worker {

/// Takes the plain text out of an RTF document (Rich Text Format 1.9.1), fed in chunks of any size.
///
/// The text is the body's: paragraphs, lines, sections and pages end with a newline, a table's cells are parted by tabs
/// and its rows end with a newline, list marks and field results are kept. Headers, footers, footnotes, annotations,
/// field instructions, pictures, hidden and deleted text are left out. A document that ends early gives what it had.
class RtfReader {
public:
    void feed(std::string_view bytes);
    /// After the last chunk. False when the bytes aren't RTF: no "{\rtf" at the beginning, or groups too deep.
    [[nodiscard]] bool finish();
    /// Nothing that follows can change the text any more.
    bool ended() const { return state_ == State::ended || state_ == State::failed; }
    /// UTF-8, never longer than three times the bytes fed.
    const std::string& text() const { return text_; }
    std::string takeText() { return std::move(text_); }

private:
    enum class State : std::uint8_t { start, body, control, word, number, hex1, hex2, binary, ended, failed };
    enum class Destination : std::uint8_t { body, fontTable, unicodePair, skipped };

    struct Group {
        Destination destination = Destination::body;
        bool hidden = false;
        bool deleted = false;
        bool starred = false; // "\*" was the last thing read
        std::int32_t fallback = 1;
        std::int32_t font = -1; // -1: none was named
    };

    struct Font {
        int charset = -1;
        int codePage = 0;
    };

    std::size_t feedBody(std::string_view bytes);
    void feedControl(unsigned char byte);
    void feedHex(unsigned char byte);
    bool feedWord(unsigned char byte);
    void openGroup();
    void closeGroup();
    void endWord();
    void act(const RtfMeaning& meaning, bool hasNumber, int number);
    void takeSymbol(unsigned char byte);
    void takeBytes(std::string_view bytes);
    void takeUnicode(int number);
    void emit(char32_t codePoint);
    void flushBytes();
    void flushHalf();
    bool shows() const;
    int codePage() const;

    State state_ = State::start;
    std::vector<Group> groups_;
    std::map<int, Font> fonts_;
    CodePages codePages_;
    std::string text_;
    std::string bytes_; // shown bytes of the current code page that aren't decoded yet
    std::string word_;
    std::int64_t number_ = 0;
    std::int64_t toSkip_ = 0; // fallback characters after a \u that are still to be left out
    std::uint64_t binaryLeft_ = 0;
    char32_t highHalf_ = 0; // of a surrogate pair
    int documentCodePage_ = 1252;
    int defaultFont_ = -1;
    int listedFont_ = -1; // the font whose entry is being read
    bool negative_ = false;
    bool hasNumber_ = false;
    unsigned char hexHigh_ = 0;
    std::size_t startSeen_ = 0;
};

} // namespace vennic::worker
