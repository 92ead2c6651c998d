#include "linux/VolumeLocality.h"

#include <gtest/gtest.h>
#include <linux/magic.h>
#include <sys/stat.h>
#include <sys/sysmacros.h>

namespace vennic::test {

TEST(VolumeLocalityTest, networkFileSystemsAreToldByTheirMagicNumber) {
    for (const quint64 magic : {0x6969ULL, 0xff534d42ULL, 0xfe534d42ULL, 0x01021997ULL, 0x00c36400ULL, 0x5346414fULL})
        EXPECT_TRUE(isNetworkFileSystem(magic, {})) << std::hex << magic;
    for (const quint64 magic : {0xef53ULL, 0x01021994ULL, 0x9123683eULL, 0x58465342ULL, 0x4d44ULL, 0x794c7630ULL})
        EXPECT_FALSE(isNetworkFileSystem(magic, {})) << std::hex << magic;
}

TEST(VolumeLocalityTest, fuseIsToldByItsType) {
    for (const char* type : {"fuse.sshfs", "fuse.rclone", "fuse.gvfsd-fuse", "fuse.davfs", "fuse.webdav", "fuse.afpfs"})
        EXPECT_TRUE(isNetworkFileSystem(FUSE_SUPER_MAGIC, type)) << type;
    for (const char* type :
         {"", "fuse", "fuseblk", "fuse.ntfs-3g", "fuse.gocryptfs", "fuse.mergerfs", "sshfs", "fuse."})
        EXPECT_FALSE(isNetworkFileSystem(FUSE_SUPER_MAGIC, type)) << type;
    EXPECT_FALSE(isNetworkFileSystem(0xef53, "fuse.sshfs"));
}

TEST(VolumeLocalityTest, theTypeOfAMountIsReadFromTheKernelsList) {
    const QByteArray list = "21 1 8:1 / / rw,relatime shared:1 - ext4 /dev/sda1 rw\n"
                            "40 21 0:45 / /home/me/far\\040away rw,nosuid - fuse.sshfs me@far:/ rw,user_id=0\n"
                            "41 21 0:4 / /proc rw shared:5 master:2 - proc proc rw";
    EXPECT_EQ(mountTypeOf(list, 0, 45), "fuse.sshfs");
    EXPECT_EQ(mountTypeOf(list, 8, 1), "ext4");
    EXPECT_EQ(mountTypeOf(list, 0, 4), "proc");
    EXPECT_EQ(mountTypeOf(list, 0, 5), "");
}

TEST(VolumeLocalityTest, aListThatIsCutOrSenselessGivesNoType) {
    for (const char* list :
         {"", "\n\n\n", "40 21 0:45", "40 21 0:45 / /x rw -", "40 21 0:45 / /x rw", "- - 0:45 - - -", "   "})
        EXPECT_EQ(mountTypeOf(list, 0, 45), "") << list;
}

TEST(VolumeLocalityTest, anAnswerIsRememberedForItsDevice) {
    VolumeLocality volumes;
    struct stat status{};
    ASSERT_EQ(stat("/proc", &status), 0);
    EXPECT_EQ(volumes.isLocal(major(status.st_dev), minor(status.st_dev), "/nowhere/at/all"), std::nullopt);
    EXPECT_EQ(volumes.isLocal(major(status.st_dev), minor(status.st_dev), "/proc"), true);
    EXPECT_EQ(volumes.isLocal(major(status.st_dev), minor(status.st_dev), "/nowhere/at/all"), true);
}

} // namespace vennic::test
