#pragma once
#include "linux/FileDescriptor.h"
#include "ports/FileSystem.h"

#include <array>
#include <vector>

namespace vennic {

/// A walk in the order of the disk, level by level. It goes 256 levels deep, holds 64 descriptors and passes over names
/// that aren't UTF-8 and paths that the kernel takes from nobody (PATH_MAX). A folder that is exchanged or moved while
/// it is walked ends there.
class FolderWalkPosix final : public FolderWalk {
public:
    static constexpr std::size_t mostLevels = 256;
    static constexpr std::size_t mostOpenLevels = 64;

    /// A link at `root` itself is followed. Null when it can't be opened.
    static std::unique_ptr<FolderWalk> open(const QString& root);
    std::optional<QString> next() override;

private:
    static constexpr std::size_t bufferBytes = 32'768;
    struct Level {
        FileDescriptor folder; // closed while 64 deeper ones are open
        QString path;          // with a slash at its end
        qsizetype pathBytes = 0;
        quint64 device = 0; // with the inode, once it was closed
        quint64 inode = 0;
        std::unique_ptr<char[]> buffer;
        std::size_t at = 0;     // in the buffer
        std::size_t filled = 0; // bytes of the buffer
        qint64 position = 0;    // of the folder, after what the buffer holds
    };
    struct Entry;

    FolderWalkPosix() = default;
    static bool fill(Level& level);
    static bool isFolder(const Level& level, const Entry& entry);
    void enter(const char* name, QString path, qsizetype pathBytes);
    void push(FileDescriptor folder, QString path, qsizetype pathBytes);
    static void suspend(Level& level);
    void leave();
    static bool reopen(Level& level, const FileDescriptor& child);

    std::vector<Level> levels_;
    std::vector<std::unique_ptr<char[]>> spareBuffers_;
};

} // namespace vennic
