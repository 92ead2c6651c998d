// Any bytes as a segment file: reading stays within them. The checksums are put right first, so that the fuzzer gets
// past them.
#include "linux/index/SegmentMerge.h"

#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <string>
#include <unistd.h>

using namespace vennic::index;

namespace {

/// A folder of this process, gone with it.
struct Folder {
    Folder() {
        char name[] = "/tmp/fuzz_segment_XXXXXX";
        if (!mkdtemp(name))
            std::abort();
        path = name;
    }
    ~Folder() {
        unlink((path + "/in").c_str());
        unlink((path + "/out").c_str());
        rmdir(path.c_str());
    }
    std::string path;
};

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (size > 1 << 20)
        return 0;
    std::string bytes(reinterpret_cast<const char*>(data), size);
    if (size >= sizeof(SegmentHeader)) {
        SegmentHeader header;
        std::memcpy(&header, bytes.data(), sizeof header);
        std::memcpy(header.magic, SegmentHeader::kind, sizeof header.magic);
        header.fileBytes = size;
        Checksum checksum;
        checksum.add(&header, offsetof(SegmentHeader, headerChecksum));
        header.headerChecksum = checksum.value();
        std::memcpy(bytes.data(), &header, sizeof header);
    }
    static const Folder folder;
    const std::string path = folder.path + "/in";
    const int file = open(path.c_str(), O_CREAT | O_TRUNC | O_WRONLY | O_CLOEXEC, 0600);
    if (file < 0 || write(file, bytes.data(), bytes.size()) != static_cast<ssize_t>(bytes.size()))
        std::abort();
    close(file);
    try {
        const auto segment = std::make_shared<const Segment>(path);
        segment->intact();
        for (const char* piece : {"a", "mot", "\xc3"}) {
            Bitmap found(segment->documents());
            segment->collect(piece, found);
        }
        SegmentMerge merge({segment}, folder.path + "/out", [](std::uint32_t id) { return id % 3 != 0; });
        merge.step(std::chrono::steady_clock::time_point::max());
        merge.finish();
        unlink((folder.path + "/out").c_str());
    } catch (const DamagedIndex&) { // NOLINT(bugprone-empty-catch): the answer to most inputs
    }
    return 0;
}
