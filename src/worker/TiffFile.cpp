#include "worker/TiffFile.h"

#include "worker/ByteReader.h"

#include <array>
#include <optional>
#include <vector>

namespace vennic::worker {
namespace {

constexpr std::size_t mostDirectories = 64; // pages, thumbnails and sizes; also ends a chain that bites its tail

struct Entry {
    std::size_t width = 0; // bytes of one of its values; 0 for a type that nobody knows
    std::size_t count = 0;
    std::size_t at = 0; // where its values stand
};

/// Directories and their entries, in the byte order of the file.
class Directories {
public:
    explicit Directories(std::string_view bytes) : file_(bytes), isBig_(bytes.starts_with("MM")) {
        pending_.push_back(number32(4));
    }

    bool areWhole() {
        for (std::size_t at = 0; at < pending_.size(); ++at) {
            if (at >= mostDirectories || !isWhole(pending_[at]))
                return false;
        }
        return hasImage_;
    }

private:
    std::uint32_t number16(std::size_t at) const { return isBig_ ? file_.big16(at) : file_.little16(at); }
    std::uint32_t number32(std::size_t at) const { return isBig_ ? file_.big32(at) : file_.little32(at); }

    std::size_t value(const Entry& entry, std::size_t index) const {
        return entry.width == 2 ? number16(entry.at + index * 2) : number32(entry.at + index * 4);
    }

    Entry entryAt(std::size_t at) const {
        static constexpr std::array<std::size_t, 14> widths{0, 1, 1, 2, 4, 8, 1, 1, 2, 4, 8, 4, 8, 4};
        const std::uint32_t type = number16(at + 2);
        Entry entry{.width = type < widths.size() ? widths[type] : 0, .count = number32(at + 4), .at = at + 8};
        if (entry.width * entry.count > 4)
            entry.at = number32(at + 8);
        return entry;
    }

    bool isWhole(std::size_t directory) {
        const std::size_t count = number16(directory);
        if (!file_.has(directory, 2 + count * 12 + 4))
            return false;
        Parts strips;
        Parts tiles;
        for (std::size_t i = 0; i < count; ++i) {
            const std::size_t at = directory + 2 + i * 12;
            const std::uint32_t tag = number16(at);
            const Entry entry = entryAt(at);
            constexpr std::uint32_t firstPrivateTag = 0x8000; // what stands there is its maker's business
            if (tag < firstPrivateTag && !file_.has(entry.at, entry.width * entry.count))
                return false;
            note(tag, entry, strips, tiles);
        }
        if (const std::size_t next = number32(directory + 2 + count * 12); next != 0)
            pending_.push_back(next);
        return fit(strips) && fit(tiles);
    }

    struct Parts {
        std::optional<Entry> places;
        std::optional<Entry> lengths;
    };

    void note(std::uint32_t tag, const Entry& entry, Parts& strips, Parts& tiles) {
        const bool isNumber = entry.width == 2 || entry.width == 4;
        if (!isNumber)
            return;
        switch (tag) {
        case 0x0100: // width
            hasImage_ = hasImage_ || value(entry, 0) != 0;
            break;
        case 0x0111:
            strips.places = entry;
            break;
        case 0x0117:
            strips.lengths = entry;
            break;
        case 0x0144:
            tiles.places = entry;
            break;
        case 0x0145:
            tiles.lengths = entry;
            break;
        case 0x014a: // directories of other sizes of the image
            for (std::size_t i = 0; i < entry.count && pending_.size() <= mostDirectories; ++i)
                pending_.push_back(value(entry, i));
            break;
        default:
            break;
        }
    }

    bool fit(const Parts& parts) const {
        if (!parts.places || !parts.lengths)
            return true;
        if (parts.places->count != parts.lengths->count)
            return false;
        for (std::size_t i = 0; i < parts.places->count; ++i) {
            if (!file_.has(value(*parts.places, i), value(*parts.lengths, i)))
                return false;
        }
        return true;
    }

    ByteReader file_;
    bool isBig_;
    bool hasImage_ = false;
    std::vector<std::size_t> pending_;
};

} // namespace

bool tiffIsWhole(std::string_view bytes) { return Directories(bytes).areWhole(); }

} // namespace vennic::worker
