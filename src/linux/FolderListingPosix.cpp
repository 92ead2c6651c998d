#include "linux/FolderListingPosix.h"

#include "base/LocalizedError.h"
#include "linux/FileStatus.h"
#include "linux/FolderFault.h"
#include "linux/NativePath.h"
#include "linux/OpenedPath.h"

#include <cerrno>
#include <fcntl.h>
#include <utility>

namespace vennic {

namespace {

[[noreturn]] void fail(int error) {
    QString sentence = folderFault(error) + u'.';
    sentence[0] = sentence[0].toUpper();
    throw LocalizedError(sentence);
}

} // namespace

std::unique_ptr<FolderListing> FolderListingPosix::open(const QString& path) {
    const auto native = nativePath(path);
    if (!native)
        fail(EINVAL);
    FileDescriptor folder = openedPath(*native, O_RDONLY | O_DIRECTORY | O_NONBLOCK);
    DIR* const stream = folder.isOpen() ? fdopendir(folder.number()) : nullptr;
    if (stream == nullptr)
        fail(errno);
    std::ignore = folder.release(); // the stream closes it
    return std::unique_ptr<FolderListing>(new FolderListingPosix(stream));
}

std::optional<FolderEntry> FolderListingPosix::next() {
    for (;;) {
        errno = 0;
        const dirent* const entry = readdir(folder_.get());
        if (entry == nullptr) {
            // A folder that was deleted meanwhile holds nothing any more.
            if (errno != 0 && errno != ENOENT)
                fail(errno);
            return std::nullopt;
        }
        if (entry->d_name[0] == '.' || !QUtf8StringView(entry->d_name).isValidUtf8())
            continue;
        return FolderEntry{QString::fromUtf8(entry->d_name), values(entry->d_name)};
    }
}

std::optional<FileValues> FolderListingPosix::values(const char* name) const {
    struct statx status{};
    if (statx(dirfd(folder_.get()), name, AT_NO_AUTOMOUNT, fileStatusMask, &status) != 0)
        return std::nullopt;
    return fileValues(status);
}

} // namespace vennic
