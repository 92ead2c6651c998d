#include "worker/RtfReader.h"

#include "base/Utf8.h"

#include <algorithm>
#include <optional>
#include <utility>

namespace vennic::worker {
namespace {

constexpr std::string_view beginning = "{\\rtf";
constexpr std::size_t mostGroups = 2000; // open at once
constexpr std::size_t mostFonts = 4096;
constexpr std::size_t mostWordLetters = 32;
constexpr std::int64_t mostNumber = 0x7FFFFFFF;

bool isLetter(unsigned char byte) { return (byte >= 'a' && byte <= 'z') || (byte >= 'A' && byte <= 'Z'); }
bool isDigit(unsigned char byte) { return byte >= '0' && byte <= '9'; }
bool isSpecial(char byte) {
    return byte == '{' || byte == '}' || byte == '\\' || byte == '\r' || byte == '\n' || byte == '\0';
}
/// Bytes that mean the same in every code page; some give the control characters other places.
bool isPlainAscii(std::string_view bytes) {
    return std::ranges::all_of(bytes, [](char byte) { return (byte >= ' ' && byte <= '~') || byte == '\t'; });
}

std::optional<unsigned char> hexDigit(unsigned char byte) {
    if (isDigit(byte))
        return static_cast<unsigned char>(byte - '0');
    const unsigned char lower = byte | 0x20;
    if (lower >= 'a' && lower <= 'f')
        return static_cast<unsigned char>(lower - 'a' + 10);
    return std::nullopt;
}

} // namespace

void RtfReader::feed(std::string_view bytes) {
    while (!bytes.empty() && !ended()) {
        const auto byte = static_cast<unsigned char>(bytes.front());
        switch (state_) {
        case State::start:
            if (bytes.front() != beginning[startSeen_]) {
                state_ = State::failed;
                return;
            }
            bytes.remove_prefix(1);
            if (++startSeen_ == beginning.size()) {
                groups_.emplace_back();
                word_ = "rtf";
                state_ = State::word;
            }
            break;
        case State::body:
            bytes.remove_prefix(feedBody(bytes));
            break;
        case State::control:
            feedControl(byte);
            bytes.remove_prefix(1);
            break;
        case State::word:
        case State::number:
            if (feedWord(byte))
                bytes.remove_prefix(1);
            break;
        case State::hex1:
        case State::hex2:
            feedHex(byte);
            bytes.remove_prefix(1);
            break;
        case State::binary: {
            const auto taken = static_cast<std::size_t>(std::min<std::uint64_t>(binaryLeft_, bytes.size()));
            binaryLeft_ -= taken;
            bytes.remove_prefix(taken);
            if (binaryLeft_ == 0)
                state_ = State::body;
            break;
        }
        case State::ended:
        case State::failed:
            return;
        }
    }
}

bool RtfReader::finish() {
    if (state_ == State::start || state_ == State::failed)
        return false;
    if (state_ == State::word || state_ == State::number)
        endWord();
    flushBytes();
    flushHalf();
    const bool ok = state_ != State::failed;
    state_ = State::ended;
    return ok;
}

std::size_t RtfReader::feedBody(std::string_view bytes) {
    switch (bytes.front()) {
    case '{':
        openGroup();
        return 1;
    case '}':
        closeGroup();
        return 1;
    case '\\':
        state_ = State::control;
        return 1;
    case '\r':
    case '\n':
    case '\0':
        return 1;
    default:
        break;
    }
    const auto end = std::ranges::find_if(bytes, isSpecial);
    const auto length = static_cast<std::size_t>(end - bytes.begin());
    takeBytes(bytes.substr(0, length));
    return length;
}

void RtfReader::feedControl(unsigned char byte) {
    if (isLetter(byte)) {
        word_.assign(1, static_cast<char>(byte));
        state_ = State::word;
    } else if (byte == '\'') {
        state_ = State::hex1;
    } else {
        state_ = State::body;
        takeSymbol(byte);
    }
}

void RtfReader::feedHex(unsigned char byte) {
    const auto digit = hexDigit(byte);
    if (!digit) {
        // Not a byte after all. What stands here may open or close a group, so it is read again as text.
        state_ = State::body;
        const char again = static_cast<char>(byte);
        feedBody({&again, 1});
    } else if (state_ == State::hex1) {
        hexHigh_ = *digit;
        state_ = State::hex2;
    } else {
        state_ = State::body;
        const char whole = static_cast<char>(hexHigh_ << 4 | *digit);
        takeBytes({&whole, 1});
    }
}

/// False when the byte ends the word and isn't part of it.
bool RtfReader::feedWord(unsigned char byte) {
    if (state_ == State::word && isLetter(byte)) {
        if (word_.size() < mostWordLetters)
            word_.push_back(static_cast<char>(byte));
        return true;
    }
    if (state_ == State::word && byte == '-') {
        negative_ = true;
        state_ = State::number;
        return true;
    }
    if (isDigit(byte)) {
        state_ = State::number;
        hasNumber_ = true;
        number_ = std::min(number_ * 10 + (byte - '0'), mostNumber);
        return true;
    }
    endWord();
    return byte == ' ';
}

void RtfReader::endWord() {
    state_ = State::body;
    const int number = static_cast<int>(negative_ ? -number_ : number_);
    const bool hasNumber = hasNumber_;
    negative_ = false;
    hasNumber_ = false;
    number_ = 0;
    act(rtfMeaning(word_), hasNumber, number);
}

void RtfReader::openGroup() {
    flushBytes();
    toSkip_ = 0;
    if (groups_.size() >= mostGroups) {
        state_ = State::failed;
        return;
    }
    Group inner = groups_.back();
    inner.starred = false;
    groups_.push_back(inner);
}

void RtfReader::closeGroup() {
    flushBytes();
    toSkip_ = 0;
    groups_.pop_back();
    if (groups_.empty())
        state_ = State::ended;
}

void RtfReader::act(const RtfMeaning& meaning, bool hasNumber, int number) {
    Group& group = groups_.back();
    const bool starred = std::exchange(group.starred, false);
    const bool on = !hasNumber || number != 0;
    if (meaning.word == RtfWord::character) {
        if (toSkip_ > 0)
            --toSkip_;
        else
            emit(meaning.value);
        return;
    }
    if (meaning.word == RtfWord::unicode) {
        takeUnicode(number);
        return;
    }
    flushBytes();
    toSkip_ = 0;
    if (meaning.word == RtfWord::binary) {
        if (number > 0) {
            binaryLeft_ = static_cast<std::uint64_t>(number);
            state_ = State::binary;
        }
        return;
    }
    if (meaning.word == RtfWord::unicodeHalf && group.destination == Destination::unicodePair) {
        group.destination = Destination::body;
        return;
    }
    if (group.destination == Destination::skipped)
        return;
    if (meaning.word == RtfWord::skipped || (starred && !meaning.known)) {
        group.destination = Destination::skipped;
        return;
    }
    switch (meaning.word) {
    case RtfWord::cellEnd:
        emit('\t');
        break;
    case RtfWord::rowEnd:
        if (shows() && text_.ends_with('\t'))
            text_.pop_back();
        emit('\n');
        break;
    case RtfWord::shapeText:
        if (!text_.empty() && !text_.ends_with('\n'))
            emit('\n');
        break;
    case RtfWord::fontTable:
        group.destination = Destination::fontTable;
        break;
    case RtfWord::unicodePair:
        group.destination = Destination::unicodePair;
        break;
    case RtfWord::ansi:
        documentCodePage_ = 1252;
        break;
    case RtfWord::macintosh:
        documentCodePage_ = 10000;
        break;
    case RtfWord::pc:
        documentCodePage_ = 437;
        break;
    case RtfWord::pca:
        documentCodePage_ = 850;
        break;
    case RtfWord::ansiCodePage:
        if (number > 0)
            documentCodePage_ = number;
        break;
    case RtfWord::defaultFont:
        defaultFont_ = number;
        break;
    case RtfWord::font:
        if (group.destination == Destination::fontTable)
            listedFont_ = number;
        else
            group.font = number;
        break;
    case RtfWord::fontCharset:
    case RtfWord::fontCodePage:
        if (group.destination == Destination::fontTable &&
            (fonts_.size() < mostFonts || fonts_.contains(listedFont_))) {
            Font& font = fonts_[listedFont_];
            (meaning.word == RtfWord::fontCharset ? font.charset : font.codePage) = number;
        }
        break;
    case RtfWord::unicodeFallback:
        group.fallback = std::max(number, 0);
        break;
    case RtfWord::plain:
        group.hidden = false;
        group.font = -1;
        break;
    case RtfWord::hidden:
        group.hidden = on;
        break;
    case RtfWord::deleted:
        group.deleted = on;
        break;
    default:
        break;
    }
}

void RtfReader::takeSymbol(unsigned char byte) {
    if (byte == '*') {
        groups_.back().starred = true;
        return;
    }
    char32_t character = 0;
    switch (byte) {
    case '\\':
    case '{':
    case '}': {
        const char same = static_cast<char>(byte);
        takeBytes({&same, 1});
        return;
    }
    case '~':
        character = 0x00A0;
        break;
    case '_':
        character = 0x2011;
        break;
    case '\t':
        character = '\t';
        break;
    case '\r':
    case '\n':
        character = '\n';
        break;
    default:
        return; // optional hyphen, index marks
    }
    if (toSkip_ > 0)
        --toSkip_;
    else
        emit(character);
}

void RtfReader::takeBytes(std::string_view bytes) {
    groups_.back().starred = false;
    const auto skipped =
        static_cast<std::size_t>(std::min<std::uint64_t>(static_cast<std::uint64_t>(toSkip_), bytes.size()));
    toSkip_ -= static_cast<std::int64_t>(skipped);
    bytes.remove_prefix(skipped);
    if (bytes.empty() || !shows())
        return;
    if (bytes_.empty() && isPlainAscii(bytes)) {
        flushHalf();
        text_.append(bytes);
    } else {
        bytes_.append(bytes);
    }
}

void RtfReader::takeUnicode(int number) {
    flushBytes();
    toSkip_ = groups_.back().fallback;
    if (!shows())
        return;
    const auto unit = static_cast<char32_t>(number < 0 ? number + 0x10000 : number);
    if (number < -0x8000 || unit == 0)
        return;
    if (unit >= 0xD800 && unit < 0xDC00) {
        flushHalf();
        highHalf_ = unit;
    } else if (unit >= 0xDC00 && unit < 0xE000 && highHalf_ != 0) {
        const char32_t high = std::exchange(highHalf_, 0);
        appendUtf8(text_, 0x10000 + ((high & 0x3FF) << 10) + (unit & 0x3FF));
    } else {
        emit(unit);
    }
}

void RtfReader::emit(char32_t codePoint) {
    flushBytes();
    if (!shows())
        return;
    flushHalf();
    appendUtf8(text_, codePoint);
}

void RtfReader::flushBytes() {
    if (bytes_.empty())
        return;
    flushHalf();
    codePages_.append(text_, codePage(), bytes_);
    bytes_.clear();
}

void RtfReader::flushHalf() {
    if (std::exchange(highHalf_, 0) != 0)
        appendUtf8(text_, 0xFFFD);
}

bool RtfReader::shows() const {
    const Group& group = groups_.back();
    return group.destination == Destination::body && !group.hidden && !group.deleted;
}

int RtfReader::codePage() const {
    const auto font = fonts_.find(groups_.back().font >= 0 ? groups_.back().font : defaultFont_);
    if (font == fonts_.end())
        return documentCodePage_;
    if (font->second.codePage > 0)
        return font->second.codePage;
    const int named = font->second.charset >= 0 ? codePageOfCharset(font->second.charset) : 0;
    return named != 0 ? named : documentCodePage_;
}

} // namespace vennic::worker
