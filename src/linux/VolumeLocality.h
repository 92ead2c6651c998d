#pragma once
#include <QByteArray>
#include <QHash>

#include <chrono>
#include <mutex>
#include <optional>

namespace vennic {

/// Whether the file system of magic number `magic` (statfs(2), `f_type`) keeps its files on another machine.
/// `mountType` is its name in /proc/self/mountinfo, asked for FUSE alone ("fuse.sshfs").
bool isNetworkFileSystem(quint64 magic, const QByteArray& mountType);

/// The type of the file system mounted with this device number, from the text of /proc/self/mountinfo (proc(5));
/// empty when it isn't there.
QByteArray mountTypeOf(const QByteArray& mountInfo, unsigned major, unsigned minor);

/// Tells local volumes from those on the network and remembers it for half a minute per device, since device numbers
/// of file systems without a device are given again. Any thread may use it.
class VolumeLocality {
public:
    /// Whether the volume with this device number, which holds `path`, is local; none when the system doesn't say.
    std::optional<bool> isLocal(unsigned major, unsigned minor, const QByteArray& path);

private:
    struct Known {
        bool local = true;
        std::chrono::steady_clock::time_point until;
    };
    std::mutex mutex_;
    QHash<quint64, Known> known_;
};

} // namespace vennic
