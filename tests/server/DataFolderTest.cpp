#include "server/DataFolder.h"

#include "base/LocalizedError.h"
#include "server/Authority.h"

#include <QFile>
#include <QFileInfo>
#include <QTemporaryDir>

#include <gtest/gtest.h>

namespace vennic::server::test {

namespace {
constexpr auto others = QFileDevice::ReadGroup | QFileDevice::WriteGroup | QFileDevice::ExeGroup |
                        QFileDevice::ReadOther | QFileDevice::WriteOther | QFileDevice::ExeOther;

struct DataFolderTest : ::testing::Test {
    QTemporaryDir temporary;
    QString path = temporary.filePath(QStringLiteral("a/b"));
};
} // namespace

TEST_F(DataFolderTest, nothingOfItIsForOthers) {
    const DataFolder folder(path);
    EXPECT_EQ(folder.ownerKey().size(), 43);
    obtainIdentity(folder, {});
    EXPECT_FALSE(QFileInfo(path).permissions() & others);
    for (const char* name : {"owner.key", "ca.key", "server.key"})
        EXPECT_FALSE(QFileInfo(folder.path(QLatin1String(name))).permissions() & others) << name;
}

TEST_F(DataFolderTest, theOwnersKeyAndThePortAreKept) {
    QByteArray key;
    {
        const DataFolder folder(path);
        EXPECT_EQ(folder.port(), 0);
        key = folder.ownerKey();
        folder.keepPort(4321);
    }
    const DataFolder folder(path);
    EXPECT_EQ(folder.ownerKey(), key);
    EXPECT_EQ(folder.port(), 4321);
}

TEST_F(DataFolderTest, twoServersDoNotShareAFolder) {
    const DataFolder folder(path);
    EXPECT_THROW(DataFolder{path}, LocalizedError);
}

TEST_F(DataFolderTest, theCertificateIsKeptUntilItLacksAName) {
    const DataFolder folder(path);
    const QByteArray first = obtainIdentity(folder, {}).certificate;
    const QByteArray authority = folder.read(QStringLiteral("ca.pem")).value();
    EXPECT_EQ(obtainIdentity(folder, {}).certificate, first);
    const QStringList hosts{QStringLiteral("maison.local"), QStringLiteral("10.1.2.3")};
    const QByteArray second = obtainIdentity(folder, hosts).certificate;
    EXPECT_NE(second, first);
    EXPECT_EQ(obtainIdentity(folder, hosts).certificate, second);
    EXPECT_EQ(folder.read(QStringLiteral("ca.pem")).value(), authority);
}

TEST_F(DataFolderTest, aDamagedAuthorityIsNotReplacedSilently) {
    const DataFolder folder(path);
    obtainIdentity(folder, {});
    folder.writePublic(QStringLiteral("ca.pem"), "damaged");
    EXPECT_THROW(obtainIdentity(folder, {}), LocalizedError);
}

} // namespace vennic::server::test
