#include "linux/CredentialStoreFile.h"

#include "fakes/UserPresenceFake.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>

#include <csignal>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

namespace vennic::test {

namespace {

QByteArray contentOf(const QString& path) {
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

mode_t modeOf(const QString& path) {
    struct stat status{};
    return stat(QFile::encodeName(path).constData(), &status) == 0 ? status.st_mode & 07777 : 0;
}

} // namespace

class CredentialStoreFileTest : public testing::Test {
protected:
    void write(const QByteArray& content) {
        QFile file(path_);
        ASSERT_TRUE(file.open(QIODevice::WriteOnly | QIODevice::Truncate));
        file.write(content);
        file.close();
        chmod(QFile::encodeName(path_).constData(), 0600);
    }
    QTemporaryDir folder_;
    const QString path_ = folder_.filePath(QStringLiteral("vault"));
    UserPresenceFake presence_;
    CredentialStoreFile store_{path_, presence_};
    const CredentialItem item_{QStringLiteral("com.example.token"), QStringLiteral("user")};
    const SecretText secret_{"s3cret"};
};

TEST_F(CredentialStoreFileTest, fileAndFolderAreTheOwnersAlone) {
    const QString path = folder_.filePath(QStringLiteral("new/vennic/vault"));
    const mode_t before = umask(0);
    const auto status = CredentialStoreFile(path, presence_).add(item_, secret_, {});
    umask(before);
    EXPECT_EQ(status, CredentialStatus::success);
    EXPECT_EQ(modeOf(path), 0600u);
    EXPECT_EQ(modeOf(folder_.filePath(QStringLiteral("new/vennic"))), 0700u);
    EXPECT_EQ(QDir(folder_.filePath(QStringLiteral("new/vennic"))).entryList(QDir::Files),
              QStringList{QStringLiteral("vault")});
}

TEST_F(CredentialStoreFileTest, itemsSurviveARestart) {
    ASSERT_EQ(store_.add(item_, secret_, {.requiresUserPresence = true}), CredentialStatus::success);
    CredentialStoreFile again(path_, presence_);
    EXPECT_EQ(*again.read(item_, QStringLiteral("?")).data, secret_);
    EXPECT_EQ(again.protectionOf(item_)->requiresUserPresence, true);
}

TEST_F(CredentialStoreFileTest, aFileThatOthersMayReadIsRefusedAndKept) {
    ASSERT_EQ(store_.add(item_, secret_, {}), CredentialStatus::success);
    for (const mode_t mode : {0640u, 0604u, 0660u, 0610u}) {
        chmod(QFile::encodeName(path_).constData(), mode);
        const QByteArray before = contentOf(path_);
        EXPECT_EQ(store_.read(item_, std::nullopt).status, CredentialStatus::ioFailed);
        EXPECT_EQ(store_.add({QStringLiteral("a"), QStringLiteral("b")}, secret_, {}), CredentialStatus::ioFailed);
        EXPECT_EQ(store_.remove(item_), CredentialStatus::ioFailed);
        EXPECT_EQ(contentOf(path_), before);
    }
}

TEST_F(CredentialStoreFileTest, whatIsNoPlainFileIsRefusedWithoutWaiting) {
    const QByteArray path = QFile::encodeName(path_);
    ASSERT_EQ(mkfifo(path.constData(), 0600), 0);
    EXPECT_EQ(store_.read(item_, std::nullopt).status, CredentialStatus::ioFailed);
    unlink(path.constData());
    ASSERT_EQ(symlink("/dev/zero", path.constData()), 0);
    EXPECT_EQ(store_.read(item_, std::nullopt).status, CredentialStatus::ioFailed);
    unlink(path.constData());
    ASSERT_EQ(mkdir(path.constData(), 0700), 0);
    EXPECT_EQ(store_.read(item_, std::nullopt).status, CredentialStatus::ioFailed);
    EXPECT_EQ(store_.add(item_, secret_, {}), CredentialStatus::ioFailed);
}

TEST_F(CredentialStoreFileTest, aLargeFileOrSecretIsRefused) {
    write(QByteArray((1 << 20) + 1, ' '));
    EXPECT_EQ(store_.read(item_, std::nullopt).status, CredentialStatus::ioFailed);
    EXPECT_EQ(store_.add(item_, SecretText(QByteArray(1 << 20, 'x')), {}), CredentialStatus::dataTooLarge);
}

TEST_F(CredentialStoreFileTest, contentThatMakesNoSenseIsSetAsideBeforeTheNextWrite) {
    int aside = 0;
    for (const QByteArray& content : {QByteArray("junk"), QByteArray("{}"), QByteArray("{\"version\":0,\"items\":[]}"),
                                      QByteArray("{\"version\":1,\"items\":[{\"service\":1}]}"), QByteArray(),
                                      QByteArray("{\"version\":1,\"items\":[{\"service\":\"a\",\"account\":\"b\","
                                                 "\"data\":\"*\",\"user-presence\":false}]}")}) {
        write(content);
        EXPECT_EQ(store_.read(item_, std::nullopt).status, CredentialStatus::ioFailed) << content.constData();
        EXPECT_EQ(contentOf(path_), content);
        EXPECT_EQ(store_.add(item_, secret_, {}), CredentialStatus::success);
        EXPECT_EQ(*store_.read(item_, std::nullopt).data, secret_);
        EXPECT_EQ(QDir(folder_.path()).entryList({QStringLiteral("vault.corrupt-*")}, QDir::Files).size(), ++aside);
    }
}

TEST_F(CredentialStoreFileTest, aFileOfANewerFormatIsRefusedAndLeftWhereItIs) {
    const QByteArray newer = "{\"version\":2,\"secrets\":{}}";
    write(newer);
    EXPECT_EQ(store_.read(item_, std::nullopt).status, CredentialStatus::ioFailed);
    EXPECT_EQ(store_.add(item_, secret_, {}), CredentialStatus::ioFailed);
    EXPECT_EQ(store_.remove(item_), CredentialStatus::ioFailed);
    EXPECT_EQ(store_.protectionOf(item_), std::nullopt);
    EXPECT_EQ(contentOf(path_), newer);
    EXPECT_EQ(QDir(folder_.path()).entryList(QDir::Files), QStringList{QStringLiteral("vault")});
}

TEST_F(CredentialStoreFileTest, whatAKilledWriterLeftIsRemovedByTheFirstUseAndNothingElse) {
    ASSERT_EQ(store_.add(item_, secret_, {}), CredentialStatus::success);
    const QStringList others{QStringLiteral("vault.bak"), QStringLiteral("vault.corrupt-20250101-000000"),
                             QStringLiteral("vault2.abcDEF"), QStringLiteral("vault.abcDEFg")};
    for (const QString& name : others + QStringList{QStringLiteral("vault.abcDEF"), QStringLiteral("vault.0aZ9xY")}) {
        QFile file(folder_.filePath(name));
        ASSERT_TRUE(file.open(QIODevice::WriteOnly));
        file.write("s3cret");
    }
    CredentialStoreFile again(path_, presence_);
    EXPECT_EQ(*again.read(item_, std::nullopt).data, secret_);
    QStringList kept = others + QStringList{QStringLiteral("vault")};
    kept.sort();
    EXPECT_EQ(QDir(folder_.path()).entryList(QDir::Files, QDir::Name), kept);
}

TEST_F(CredentialStoreFileTest, aWriterKilledAtAnyMomentLeavesTheOldOrTheNewAndNoSecretBeside) {
    ASSERT_EQ(store_.add(item_, secret_, {}), CredentialStatus::success);
    for (int round = 0; round < 30; ++round) {
        const pid_t writer = fork();
        ASSERT_GE(writer, 0);
        if (writer == 0) {
            CredentialStoreFile store(path_, presence_);
            for (;;) {
                store.add({QStringLiteral("other"), QStringLiteral("o")}, SecretText("x"), {});
                store.remove({QStringLiteral("other"), QStringLiteral("o")});
            }
        }
        usleep(static_cast<useconds_t>(500 + round * 700));
        kill(writer, SIGKILL);
        waitpid(writer, nullptr, 0);
        CredentialStoreFile again(path_, presence_);
        const auto result = again.read(item_, std::nullopt);
        ASSERT_EQ(result.status, CredentialStatus::success) << round;
        EXPECT_EQ(*result.data, secret_);
        EXPECT_EQ(QDir(folder_.path()).entryList(QDir::Files), QStringList{QStringLiteral("vault")});
    }
}

TEST_F(CredentialStoreFileTest, aFolderWhereOthersMayWriteIsRefused) {
    ASSERT_EQ(store_.add(item_, secret_, {}), CredentialStatus::success);
    const QByteArray folder = QFile::encodeName(folder_.path());
    for (const mode_t mode : {0720u, 0702u, 0777u, 01777u}) {
        chmod(folder.constData(), mode);
        EXPECT_EQ(store_.read(item_, std::nullopt).status, CredentialStatus::ioFailed) << mode;
        EXPECT_EQ(store_.add({QStringLiteral("a"), QStringLiteral("b")}, secret_, {}), CredentialStatus::ioFailed);
    }
    chmod(folder.constData(), 0755);
    EXPECT_EQ(*store_.read(item_, std::nullopt).data, secret_);
}

TEST_F(CredentialStoreFileTest, aFolderOfSomebodyElseIsRefused) {
    // The file would be the owner's own; whoever has the folder can put another in its place.
    if (geteuid() == 0) {
        ASSERT_EQ(store_.add(item_, secret_, {}), CredentialStatus::success);
        ASSERT_EQ(chown(QFile::encodeName(folder_.path()).constData(), 65534, 65534), 0);
        EXPECT_EQ(store_.read(item_, std::nullopt).status, CredentialStatus::ioFailed);
    } else {
        CredentialStoreFile store(QStringLiteral("/vault"), presence_);
        EXPECT_EQ(store.read(item_, std::nullopt).status, CredentialStatus::ioFailed);
    }
}

TEST_F(CredentialStoreFileTest, aFileCutAnywhereNeverGivesAWrongSecret) {
    ASSERT_EQ(store_.add(item_, secret_, {}), CredentialStatus::success);
    const QByteArray whole = contentOf(path_);
    for (qsizetype size = 0; size < whole.size(); ++size) {
        write(whole.first(size));
        const auto result = store_.read(item_, std::nullopt);
        EXPECT_EQ(result.status, CredentialStatus::ioFailed) << size;
        EXPECT_FALSE(result.data);
    }
}

TEST_F(CredentialStoreFileTest, aFolderThatCannotBeMadeIsAFailureOfTheDisk) {
    write("in the way");
    CredentialStoreFile store(path_ + QStringLiteral("/vennic/vault"), presence_);
    EXPECT_EQ(store.add(item_, secret_, {}), CredentialStatus::ioFailed);
}

} // namespace vennic::test
