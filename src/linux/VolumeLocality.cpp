#include "linux/VolumeLocality.h"

#include <QFile>

#include <algorithm>
#include <array>
#include <linux/magic.h>
#include <string_view>
#include <sys/vfs.h>

namespace vennic {

using namespace std::chrono_literals;

namespace {

constexpr auto rememberFor = 30s;
constexpr qsizetype mostDevices = 256;
constexpr qint64 mostMountInfoBytes = 4'194'304;

// What linux/magic.h lacks.
constexpr quint64 lustreMagic = 0x0bd00bd0;
constexpr quint64 gpfsMagic = 0x47504653;
constexpr quint64 nfsdMagic = 0x6e667364;
constexpr std::array networkMagics{
    quint64{NFS_SUPER_MAGIC},
    quint64{SMB_SUPER_MAGIC},
    quint64{CIFS_SUPER_MAGIC},
    quint64{SMB2_SUPER_MAGIC},
    quint64{AFS_SUPER_MAGIC},
    quint64{AFS_FS_MAGIC},
    quint64{CODA_SUPER_MAGIC},
    quint64{NCP_SUPER_MAGIC},
    quint64{V9FS_MAGIC},
    quint64{CEPH_SUPER_MAGIC},
    quint64{OCFS2_SUPER_MAGIC},
    lustreMagic,
    gpfsMagic,
    nfsdMagic,
};

// Sorted. What stands behind "fuse." when the files come over a network.
constexpr std::array<std::string_view, 26> networkFuse{
    "afpfs",      "beegfs",    "ceph-fuse", "cifs",      "curlftpfs",
    "davfs",      "gcsfuse",   "glusterfs", "goofys",    "google-drive-ocamlfuse",
    "gvfsd-fuse", "ipfs",      "juicefs",   "kio-fuse",  "lizardfs",
    "mfs",        "mount_afp", "nfs",       "onedriver", "rclone",
    "s3fs",       "seaweedfs", "smb",       "smbnetfs",  "sshfs",
    "webdav",
};
static_assert(std::ranges::is_sorted(networkFuse));

} // namespace

bool isNetworkFileSystem(quint64 magic, const QByteArray& mountType) {
    if (magic != FUSE_SUPER_MAGIC)
        return std::ranges::find(networkMagics, magic) != networkMagics.end();
    if (!mountType.startsWith("fuse."))
        return false;
    const std::string_view name(mountType.constData() + 5, static_cast<std::size_t>(mountType.size()) - 5);
    return std::ranges::binary_search(networkFuse, name);
}

QByteArray mountTypeOf(const QByteArray& mountInfo, unsigned major, unsigned minor) {
    const QByteArray device = QByteArray::number(major) + ':' + QByteArray::number(minor);
    for (qsizetype start = 0; start < mountInfo.size();) {
        const qsizetype newline = mountInfo.indexOf('\n', start);
        const qsizetype end = newline < 0 ? mountInfo.size() : newline;
        // "36 35 98:0 /root /point options optional… - type source options"
        const QList<QByteArray> fields = mountInfo.sliced(start, end - start).split(' ');
        start = end + 1;
        const qsizetype dash = fields.indexOf("-", 6);
        if (fields.size() > 2 && fields[2] == device && dash > 0 && dash + 1 < fields.size())
            return fields[dash + 1];
    }
    return {};
}

std::optional<bool> VolumeLocality::isLocal(unsigned major, unsigned minor, const QByteArray& path) {
    const quint64 device = quint64{major} << 32U | minor;
    const auto now = std::chrono::steady_clock::now();
    {
        const std::lock_guard lock(mutex_);
        if (const auto found = known_.constFind(device); found != known_.constEnd() && now < found->until)
            return found->local;
    }
    struct statfs status{};
    if (statfs(path.constData(), &status) != 0)
        return std::nullopt;
    const auto magic = static_cast<quint64>(static_cast<quint32>(status.f_type));
    QByteArray mountType;
    if (magic == FUSE_SUPER_MAGIC) {
        QFile mounts(QStringLiteral("/proc/self/mountinfo"));
        if (mounts.open(QIODevice::ReadOnly))
            mountType = mountTypeOf(mounts.read(mostMountInfoBytes), major, minor);
    }
    const bool local = !isNetworkFileSystem(magic, mountType);
    const std::lock_guard lock(mutex_);
    if (known_.size() >= mostDevices)
        known_.clear();
    known_.insert(device, {local, now + rememberFor});
    return local;
}

} // namespace vennic
