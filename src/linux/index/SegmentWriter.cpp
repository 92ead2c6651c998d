#include "linux/index/SegmentWriter.h"

#include "linux/index/ByteScan.h"
#include "linux/index/Varint.h"

#include <cerrno>
#include <fcntl.h>
#include <system_error>
#include <unistd.h>

namespace vennic::index {

namespace {

[[noreturn]] void failed(const char* what) { throw std::system_error(errno, std::generic_category(), what); }

void writeAll(int file, const char* data, std::size_t bytes, std::uint64_t offset) {
    while (bytes > 0) {
        const ssize_t written = pwrite(file, data, bytes, static_cast<off_t>(offset));
        if (written < 0 && errno == EINTR)
            continue;
        if (written <= 0)
            failed("write");
        data += written;
        offset += static_cast<std::uint64_t>(written);
        bytes -= static_cast<std::size_t>(written);
    }
}

std::string folderOf(const std::string& path) { return path.substr(0, path.rfind('/')); }

} // namespace

/// A file that is only appended to, with the checksum of what was appended in whole units of 8 bytes.
class SegmentWriter::Output {
public:
    explicit Output(int file) : file_(file) {
        if (file < 0)
            failed("open");
        buffer_.reserve(capacity);
    }
    ~Output() { close(file_); }
    Output(const Output&) = delete;
    Output& operator=(const Output&) = delete;

    void append(const void* data, std::size_t bytes) {
        const auto* at = static_cast<const char*>(data);
        while (bytes > 0) {
            const std::size_t part = std::min(bytes, capacity - buffer_.size());
            buffer_.append(at, part);
            at += part;
            bytes -= part;
            if (buffer_.size() == capacity)
                flush();
        }
    }
    void pad() {
        while (size() % 8)
            append("", 1);
    }
    void flush() {
        checksum_.add(buffer_.data(), buffer_.size());
        writeAll(file_, buffer_.data(), buffer_.size(), written_);
        written_ += buffer_.size();
        buffer_.clear();
    }
    std::uint64_t size() const { return written_ + buffer_.size(); }
    int file() const { return file_; }
    std::uint64_t checksum() const { return checksum_.value(); }
    /// The file begins with `bytes` that the checksum doesn't cover and that are written at the end.
    void leaveOut(std::size_t bytes) { written_ = bytes; }

private:
    static constexpr std::size_t capacity = 1 << 16;
    int file_;
    std::string buffer_;
    std::uint64_t written_ = 0;
    Checksum checksum_;
};

SegmentWriter::SegmentWriter(std::string path, std::span<const DocumentFacts> documents)
    : path_(std::move(path)), documents_(documents.size()) {
    unlink(path_.c_str()); // what a crash may have left
    file_ = std::make_unique<Output>(open(path_.c_str(), O_CREAT | O_EXCL | O_RDWR | O_CLOEXEC, 0600));
    words_ = std::make_unique<Output>(open(folderOf(path_).c_str(), O_TMPFILE | O_RDWR | O_CLOEXEC, 0600));
    file_->leaveOut(sizeof header_);
    for (const DocumentFacts& document : documents)
        file_->append(&document.id, sizeof document.id);
    file_->pad();
    for (const DocumentFacts& document : documents)
        file_->append(&document.folder, sizeof document.folder);
    file_->pad();
    for (const DocumentFacts& document : documents)
        file_->append(&document.changed, sizeof document.changed);
    header_.postings = file_->size();
    words_->append("\n", 1);
}

SegmentWriter::~SegmentWriter() {
    if (!finished_)
        unlink(path_.c_str());
}

void SegmentWriter::add(std::string_view word, std::span<const std::uint32_t> positions) {
    if (header_.words++ % wordsPerBlock == 0)
        blocks_.push_back({words_->size(), file_->size() - header_.postings});
    words_->append(word.data(), word.size());
    words_->append("\n", 1);
    coded_.clear();
    std::uint32_t previous = 0;
    for (const std::uint32_t position : positions) {
        appendVarint(coded_, position - previous);
        previous = position;
    }
    const std::size_t dense = (documents_ + 7) / 8;
    const bool asBits = positions.size() > 1 && coded_.size() > dense;
    if (asBits) {
        coded_.assign(dense, '\0');
        for (const std::uint32_t position : positions)
            coded_[position / 8] = static_cast<char>(coded_[position / 8] | 1 << position % 8);
    }
    std::string head;
    appendVarint(head, positions.size());
    if (positions.size() > 1)
        appendVarint(head, coded_.size() << 1 | (asBits ? 1 : 0));
    file_->append(head.data(), head.size());
    file_->append(coded_.data(), coded_.size());
}

std::uint64_t SegmentWriter::finish() {
    std::memcpy(header_.magic, SegmentHeader::kind, sizeof header_.magic);
    header_.documents = documents_;
    header_.postingsBytes = file_->size() - header_.postings;
    file_->pad();
    header_.vocabulary = file_->size();
    header_.vocabularyBytes = words_->size();
    words_->flush();
    std::string copy(1 << 16, '\0');
    for (std::uint64_t at = 0; at < header_.vocabularyBytes;) {
        const ssize_t got = pread(words_->file(), copy.data(), copy.size(), static_cast<off_t>(at));
        if (got < 0 && errno == EINTR)
            continue;
        if (got <= 0)
            failed("read");
        file_->append(copy.data(), static_cast<std::size_t>(got));
        at += static_cast<std::uint64_t>(got);
    }
    words_.reset();
    const char zeros[scanPadding] = {};
    file_->append(zeros, sizeof zeros);
    file_->pad();
    header_.blocks = file_->size();
    header_.blockCount = blocks_.size();
    file_->append(blocks_.data(), blocks_.size() * sizeof(SegmentBlock));
    file_->flush();
    header_.fileBytes = file_->size();
    header_.bodyChecksum = file_->checksum();
    Checksum checksum;
    checksum.add(&header_, offsetof(SegmentHeader, headerChecksum));
    header_.headerChecksum = checksum.value();
    writeAll(file_->file(), reinterpret_cast<const char*>(&header_), sizeof header_, 0);
    if (fdatasync(file_->file()) != 0)
        failed("fdatasync");
    const int folder = open(folderOf(path_).c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (folder >= 0) {
        fsync(folder);
        close(folder);
    }
    finished_ = true;
    return header_.fileBytes;
}

} // namespace vennic::index
