#include "Bridge/BridgeWorld.h"
#include "Bridge/ReadHandler.h"
#include "linux/FileSystemPosix.h"
#include "linux/FileTypesShared.h"
#include "linux/FolderBookmarksInode.h"
#include "support/Await.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

using namespace vennic;
using namespace vennic::test;

namespace {

/// Reads bytes as they are, like a document process without a box.
class OpeningReader final : public DocumentReader {
public:
    DocumentText plainText(const QString& path, qint64 maxChars) override {
        struct stat found{};
        if (::stat(QFile::encodeName(path).constData(), &found) != 0 || !S_ISREG(found.st_mode))
            throw DocumentReadError(DocumentFault::unreadable, QStringLiteral("Pas un fichier ordinaire."));
        QFile file(path);
        if (!file.open(QIODevice::ReadOnly))
            throw DocumentReadError(DocumentFault::unreadable, QStringLiteral("Illisible."));
        const QString text = QString::fromUtf8(file.readAll());
        return {text.left(maxChars), text.size() > maxChars, file.size()};
    }
    DocumentText rtf(const QString& path, qint64 maxChars) override { return plainText(path, maxChars); }
    DocumentText pdf(const QString& path, qint64 maxChars) override { return plainText(path, maxChars); }
};

/// Handles against a real disk: a shared folder "grant" beside a folder "outside" that holds a secret.
struct ReadEscapeTest : ::testing::Test {
    QTemporaryDir disk;
    std::optional<QString> movedTo; // where a search for the shared folder finds it
    BridgeWorld world;
    std::shared_ptr<FolderBookmarks> bookmarks = std::make_shared<FolderBookmarksInode>(
        [this](const FolderIdentity&) { return movedTo; }, [] { return FolderBookmarksInode::Moment::clock::now(); });
    std::shared_ptr<FileSystem> files = std::make_shared<FileSystemPosix>();
    BookmarkStore grants{world.store, *bookmarks, *files, world.clock};
    TaskAnswer answer{[](const QString&) {}};
    BridgeIDCache cache;
    ReadHandler handler{
        BookmarkPersistence(world.store), bookmarks,
        DocumentExtractor(std::make_shared<OpeningReader>(), std::make_shared<FileTypesShared>(), files), cache,
        answer};
    BookmarkEntry grant;

    void SetUp() override {
        ASSERT_TRUE(QDir(disk.path()).mkpath(QStringLiteral("grant/inner")));
        ASSERT_TRUE(QDir(disk.path()).mkpath(QStringLiteral("grantor")));
        ASSERT_TRUE(QDir(disk.path()).mkpath(QStringLiteral("outside")));
        write("grant/plain.txt", "shared");
        write("grant/inner/deep.txt", "shared");
        write("grantor/near.txt", "secret");
        write("outside/secret.txt", "secret");
        grant = grants.add(FileURL{at("grant")});
    }
    QString at(const char* below) const { return disk.filePath(QString::fromUtf8(below)); }
    QByteArray native(const char* below) const { return QFile::encodeName(at(below)); }
    void write(const char* below, const QByteArray& bytes) const {
        QFile file(at(below));
        ASSERT_TRUE(file.open(QIODevice::WriteOnly));
        file.write(bytes);
    }
    /// What `read` answers for a handle of that path: the content, or the error message.
    QString read(const QString& path) {
        cache.put(QStringLiteral("H"), FileURL{path});
        const ReadArgs args{QStringLiteral("H"), {}};
        await(handler.handleRead({QStringLiteral("t"), BridgeTaskKind::read, args}, args, world.api()));
        const QJsonObject body = world.backend.updates.back().body;
        return body.contains(QLatin1String("result"))
                   ? body[QLatin1String("result")][QLatin1String("content")].toString()
                   : body[QLatin1String("error_message")].toString();
    }
};

const QString outside = QStringLiteral("Document hors des dossiers partagés.");
const QString shared = QStringLiteral("shared");

} // namespace

TEST_F(ReadEscapeTest, whatLiesInTheGrantIsRead) {
    EXPECT_EQ(read(at("grant/plain.txt")), shared);
    EXPECT_EQ(read(at("grant/inner/deep.txt")), shared);
    EXPECT_EQ(read(at("grant//plain.txt")), shared);
    EXPECT_EQ(read(at("grant/./plain.txt")), shared);
}

TEST_F(ReadEscapeTest, whatLiesOutsideIsRefusedHoweverItIsSpelled) {
    const QString root = disk.path();
    for (const QString& path :
         {at("outside/secret.txt"), at("grantor/near.txt"), root, root + u'/', QStringLiteral("/"), QString(),
          QStringLiteral("grant/plain.txt"), QStringLiteral("/etc/passwd"), QStringLiteral("/proc/self/environ"),
          QStringLiteral("/dev/zero"), root + QStringLiteral("//grant/plain.txt"), u'/' + at("grant/plain.txt"),
          root + QStringLiteral("/./grant/plain.txt"), root + QStringLiteral("/GRANT/plain.txt"),
          root + QStringLiteral("/grant%2fplain.txt"), root + QStringLiteral("/gränt/plain.txt"),
          at("grant") + QChar(u'\0'), root + QStringLiteral("/outside/../grantor/near.txt"), QString(5000, u'/')})
        EXPECT_EQ(read(path), outside) << path.toStdString();
}

TEST_F(ReadEscapeTest, aLinkInsideIsComparedAsItStandsAndFollowedByTheSystem) {
    ASSERT_EQ(::symlink(native("outside/secret.txt").constData(), native("grant/link.txt").constData()), 0);
    ASSERT_EQ(::symlink(native("grant").constData(), native("outside/back").constData()), 0);
    EXPECT_EQ(read(at("grant/link.txt")), QStringLiteral("secret")); // as it is listed, so it is read
    EXPECT_EQ(read(at("outside/back/plain.txt")), outside);
}

TEST_F(ReadEscapeTest, aHardLinkInsideIsAFileOfTheGrant) {
    ASSERT_EQ(::link(native("outside/secret.txt").constData(), native("grant/hard.txt").constData()), 0);
    EXPECT_EQ(read(at("grant/hard.txt")), QStringLiteral("secret"));
}

TEST_F(ReadEscapeTest, whatIsNoFileEndsInAnErrorAndNeverHangs) {
    ASSERT_EQ(::mkfifo(native("grant/pipe.txt").constData(), 0600), 0);
    ASSERT_EQ(::symlink("/dev/zero", native("grant/zero.txt").constData()), 0);
    ASSERT_EQ(::symlink("loop.txt", native("grant/loop.txt").constData()), 0);
    ASSERT_TRUE(QDir(disk.path()).mkpath(QStringLiteral("grant/folder.txt")));
    for (const char* path : {"grant/pipe.txt", "grant/zero.txt", "grant/loop.txt", "grant/folder.txt", "grant/gone.txt",
                             "grant/plain.txt/below.txt"})
        EXPECT_EQ(read(at(path)), QStringLiteral("Lecture: Pas un fichier ordinaire.")) << path;
    EXPECT_EQ(read(at("grant")), QStringLiteral("Format non supporté ()"));
    EXPECT_EQ(read(at("grant/") + QString(300, u'n') + QStringLiteral(".txt")),
              QStringLiteral("Lecture: Pas un fichier ordinaire."));
}

TEST_F(ReadEscapeTest, aSparseFileOfOneByteTooManyIsTooLarge) {
    write("grant/big.txt", "x");
    ASSERT_EQ(::truncate(native("grant/big.txt").constData(), 10'485'761), 0);
    EXPECT_EQ(read(at("grant/big.txt")), QStringLiteral("Fichier trop gros (10240 Ko)"));
}

TEST_F(ReadEscapeTest, aWithdrawnGrantAndADeletedFolderCutTheirHandlesOff) {
    EXPECT_EQ(read(at("grant/plain.txt")), shared);
    grants.remove(grant.id);
    EXPECT_EQ(read(at("grant/plain.txt")), outside);
    grants.add(FileURL{at("grant/inner")});
    EXPECT_EQ(read(at("grant/plain.txt")), outside);
    EXPECT_EQ(read(at("grant/inner/deep.txt")), shared);
    ASSERT_TRUE(QDir(at("grant/inner")).removeRecursively());
    EXPECT_EQ(read(at("grant/inner/deep.txt")), outside);
}

TEST_F(ReadEscapeTest, aFolderThatTookTheNameOfAGrantIsNotTheGrant) {
    ASSERT_TRUE(QDir(disk.path()).rename(QStringLiteral("grant"), QStringLiteral("moved")));
    ASSERT_TRUE(QDir(disk.path()).rename(QStringLiteral("outside"), QStringLiteral("grant")));
    movedTo = at("moved");
    EXPECT_EQ(read(at("grant/secret.txt")), outside);
    EXPECT_EQ(read(at("moved/plain.txt")), shared);
}
