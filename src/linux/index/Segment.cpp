#include "linux/index/Segment.h"

#include "linux/index/ByteScan.h"
#include "linux/index/Varint.h"

#include <cerrno>
#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <system_error>
#include <unistd.h>

namespace vennic::index {

namespace {

/// Whether [offset, offset + bytes) lies within `size` and begins at a unit of 8 bytes.
bool within(std::uint64_t offset, std::uint64_t bytes, std::uint64_t size) {
    return offset % 8 == 0 && offset <= size && bytes <= size - offset;
}

bool plausible(const SegmentHeader& header, std::uint64_t size) {
    Checksum checksum;
    checksum.add(&header, offsetof(SegmentHeader, headerChecksum));
    if (std::memcmp(header.magic, SegmentHeader::kind, sizeof header.magic) != 0 ||
        header.headerChecksum != checksum.value() || header.fileBytes != size || header.documents > size)
        return false;
    const std::uint64_t arrays = sizeof header + paddedTo8(header.documents * 4) * 2 + header.documents * 8;
    return header.postings == arrays && within(header.postings, header.postingsBytes, size) &&
           header.vocabularyBytes > 0 && header.vocabularyBytes < size &&
           within(header.vocabulary, header.vocabularyBytes + scanPadding, size) && header.blockCount < size &&
           within(header.blocks, header.blockCount * sizeof(SegmentBlock), size) &&
           header.vocabulary + header.vocabularyBytes + scanPadding <= header.blocks;
}

} // namespace

Segment::Segment(const std::string& path) {
    const int file = open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NOFOLLOW);
    if (file < 0 && errno != ENOENT && errno != ELOOP) // out of descriptors: that says nothing of the segment
        throw std::system_error(errno, std::generic_category(), "segment");
    if (file < 0)
        throw DamagedIndex("segment can't be opened");
    struct stat status{};
    int error = 0;
    if (fstat(file, &status) == 0 && S_ISREG(status.st_mode) &&
        static_cast<std::uint64_t>(status.st_size) >= sizeof(SegmentHeader)) {
        size_ = static_cast<std::uint64_t>(status.st_size);
        void* map = mmap(nullptr, size_, PROT_READ, MAP_SHARED, file, 0);
        map_ = map == MAP_FAILED ? nullptr : static_cast<const std::uint8_t*>(map);
        error = map_ ? 0 : errno;
    }
    close(file);
    if (error)
        throw std::system_error(error, std::generic_category(), "segment");
    if (!map_)
        throw DamagedIndex("segment can't be mapped");
    SegmentHeader header;
    std::memcpy(&header, map_, sizeof header);
    if (!plausible(header, size_)) {
        munmap(const_cast<std::uint8_t*>(map_), size_);
        throw DamagedIndex("segment header is wrong");
    }
    documents_ = header.documents;
    words_ = header.words;
    checksum_ = header.bodyChecksum;
    const std::uint8_t* at = map_ + sizeof header;
    ids_ = reinterpret_cast<const std::uint32_t*>(at);
    at += paddedTo8(documents_ * 4);
    folders_ = reinterpret_cast<const std::uint32_t*>(at);
    at += paddedTo8(documents_ * 4);
    changes_ = reinterpret_cast<const std::int64_t*>(at);
    postings_ = map_ + header.postings;
    postingsEnd_ = postings_ + header.postingsBytes;
    vocabulary_ = reinterpret_cast<const char*>(map_ + header.vocabulary);
    vocabularyBytes_ = header.vocabularyBytes;
    blocks_ = reinterpret_cast<const SegmentBlock*>(map_ + header.blocks);
    blockCount_ = header.blockCount;
}

Segment::~Segment() { munmap(const_cast<std::uint8_t*>(map_), size_); }

bool Segment::intact() const {
    Checksum checksum;
    checksum.add(map_ + sizeof(SegmentHeader), size_ - sizeof(SegmentHeader));
    return checksum.value() == checksum_;
}

bool Segment::readList(const std::uint8_t*& at, List& list) const {
    if (!readVarint(at, postingsEnd_, list.count))
        return false;
    list.begin = at;
    list.dense = false;
    if (list.count == 1) {
        std::uint64_t position = 0;
        if (!readVarint(at, postingsEnd_, position))
            return false;
    } else {
        std::uint64_t size = 0;
        if (!readVarint(at, postingsEnd_, size) || size >> 1 > static_cast<std::uint64_t>(postingsEnd_ - at))
            return false;
        list.dense = size & 1;
        list.begin = at;
        at += size >> 1;
    }
    list.end = at;
    return true;
}

std::size_t Segment::addList(const List& list, Bitmap& found) const {
    if (list.dense)
        return found.addBytes(list.begin, static_cast<std::size_t>(list.end - list.begin));
    std::size_t added = 0;
    std::uint64_t position = 0;
    std::uint64_t step = 0;
    for (const std::uint8_t* at = list.begin; at < list.end && readVarint(at, list.end, step);) {
        position += step;
        if (position >= documents_)
            break;
        added += found.set(position);
    }
    return added;
}

void Segment::collect(std::string_view piece, Bitmap& found) const {
    const char* const end = vocabulary_ + vocabularyBytes_;
    std::size_t block = 0;
    std::size_t opened = blockCount_; // the block that `word` and `list` stand in
    const char* word = nullptr;
    const std::uint8_t* lists = nullptr;
    std::size_t total = 0;
    std::size_t at = findBytes(vocabulary_, vocabularyBytes_, piece, 0);
    while (at < vocabularyBytes_ && total < documents_) {
        while (block + 1 < blockCount_ && blocks_[block + 1].vocabulary <= at)
            ++block;
        if (block >= blockCount_)
            return;
        if (block != opened) {
            opened = block;
            const SegmentBlock& start = blocks_[block];
            if (start.vocabulary > at || start.postings > static_cast<std::uint64_t>(postingsEnd_ - postings_))
                return;
            word = vocabulary_ + start.vocabulary;
            lists = postings_ + start.postings;
        }
        for (;;) {
            const auto* wordEnd =
                static_cast<const char*>(std::memchr(word, '\n', static_cast<std::size_t>(end - word)));
            List list;
            if (!wordEnd || !readList(lists, list))
                return;
            word = wordEnd + 1;
            if (wordEnd > vocabulary_ + at) {
                total += addList(list, found);
                break;
            }
        }
        at = findBytes(vocabulary_, vocabularyBytes_, piece, static_cast<std::size_t>(word - vocabulary_) - 1);
    }
}

Segment::Cursor::Cursor(const Segment& segment)
    : segment_(segment), nextWord_(segment.vocabulary_ + 1), nextList_(segment.postings_), left_(segment.words_) {}

bool Segment::Cursor::next() {
    if (left_ == 0)
        return false;
    --left_;
    const char* const end = segment_.vocabulary_ + segment_.vocabularyBytes_;
    const void* found =
        nextWord_ < end ? std::memchr(nextWord_, '\n', static_cast<std::size_t>(end - nextWord_)) : nullptr;
    list_ = nextList_;
    List list;
    if (!found || !segment_.readList(nextList_, list))
        throw DamagedIndex("segment words end early");
    const auto* wordEnd = static_cast<const char*>(found);
    word_ = {nextWord_, static_cast<std::size_t>(wordEnd - nextWord_)};
    nextWord_ = wordEnd + 1;
    return true;
}

void Segment::Cursor::positions(std::vector<std::uint32_t>& out) const {
    out.clear();
    const std::uint8_t* at = list_;
    List list;
    segment_.readList(at, list);
    Bitmap bits;
    if (list.dense) {
        bits = Bitmap(segment_.documents_);
        segment_.addList(list, bits);
        bits.forEach([&](std::size_t position) { out.push_back(static_cast<std::uint32_t>(position)); });
        return;
    }
    std::uint64_t position = 0;
    std::uint64_t step = 0;
    for (at = list.begin; at < list.end && readVarint(at, list.end, step);) {
        position += step;
        if (position >= segment_.documents_ || (!out.empty() && position <= out.back()))
            throw DamagedIndex("segment postings are out of order");
        out.push_back(static_cast<std::uint32_t>(position));
    }
}

} // namespace vennic::index
