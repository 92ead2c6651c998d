#include "linux/KeyValueStoreSqlite.h"

#include "linux/FailingDisk.h"
#include "support/Await.h"

#include <QDir>
#include <QFile>
#include <QRegularExpression>
#include <QTemporaryDir>

#include <cmath>
#include <csignal>
#include <gtest/gtest.h>
#include <random>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

namespace vennic::test {

namespace {

QByteArray contentOf(const QString& path) {
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

void write(const QString& path, const QByteArray& content) {
    QFile file(path);
    ASSERT_TRUE(file.open(QIODevice::WriteOnly | QIODevice::Truncate));
    file.write(content);
}

mode_t modeOf(const QString& path) {
    struct stat status{};
    return stat(QFile::encodeName(path).constData(), &status) == 0 ? status.st_mode & 07777 : 0;
}

} // namespace

class KeyValueStoreSqliteTest : public testing::Test {
protected:
    QStringList asideFiles() const {
        return QDir(folder_.path())
            .entryList({QStringLiteral("preferences.sqlite.*-??????")}, QDir::Files | QDir::Dirs);
    }
    QTemporaryDir folder_;
    const QString path_ = folder_.filePath(QStringLiteral("preferences.sqlite"));
    const QString key_ = QStringLiteral("key");
};

TEST_F(KeyValueStoreSqliteTest, everyTypeSurvivesARestart) {
    const auto text = QStringLiteral("Été \0 œuvre 🎉");
    const QByteArray data("\x00\xff\x01 bytes", 9);
    {
        KeyValueStoreSqlite store(path_);
        store.set(QStringLiteral("yes"), true);
        store.set(QStringLiteral("no"), false);
        store.set(QStringLiteral("small"), std::numeric_limits<qint64>::min());
        store.set(QStringLiteral("real"), 2.5);
        store.set(QStringLiteral("whole"), 3.0);
        store.set(QStringLiteral("none"), std::nan(""));
        store.set(QStringLiteral("text"), text);
        store.set(QStringLiteral("empty"), QString());
        store.set(QStringLiteral("data"), data);
        store.set(QStringLiteral("no data"), QByteArray());
    }
    const KeyValueStoreSqlite store(path_);
    EXPECT_EQ(store.value(QStringLiteral("yes")), StoredValue(true));
    EXPECT_EQ(store.value(QStringLiteral("no")), StoredValue(false));
    EXPECT_EQ(store.value(QStringLiteral("small")), StoredValue(std::numeric_limits<qint64>::min()));
    EXPECT_EQ(store.value(QStringLiteral("real")), StoredValue(2.5));
    EXPECT_EQ(store.value(QStringLiteral("whole")), StoredValue(3.0));
    EXPECT_TRUE(std::isnan(*storedAs<double>(store, QStringLiteral("none"))));
    EXPECT_EQ(store.value(QStringLiteral("text")), StoredValue(text));
    EXPECT_EQ(store.value(QStringLiteral("empty")), StoredValue(QString()));
    EXPECT_EQ(store.value(QStringLiteral("data")), StoredValue(data));
    EXPECT_EQ(store.value(QStringLiteral("no data")), StoredValue(QByteArray()));
    EXPECT_TRUE(store.problem().isEmpty());
}

TEST_F(KeyValueStoreSqliteTest, aRemovalSurvivesARestart) {
    {
        KeyValueStoreSqlite store(path_);
        store.set(key_, true);
        ASSERT_TRUE(store.flush());
        store.remove(key_);
    }
    EXPECT_EQ(KeyValueStoreSqlite(path_).value(key_), std::nullopt);
}

TEST_F(KeyValueStoreSqliteTest, aStoreThatIsOnlyReadWritesNothing) {
    {
        KeyValueStoreSqlite(path_).set(key_, true);
    }
    const QByteArray before = contentOf(path_);
    {
        EXPECT_EQ(KeyValueStoreSqlite(path_).value(key_), StoredValue(true));
    }
    EXPECT_EQ(contentOf(path_), before);
}

TEST_F(KeyValueStoreSqliteTest, fileAndFolderAreTheOwnersAlone) {
    const QString path = folder_.filePath(QStringLiteral("new/vennic/preferences.sqlite"));
    KeyValueStoreSqlite store(path);
    store.set(key_, true);
    ASSERT_TRUE(store.flush());
    EXPECT_EQ(modeOf(path), 0600u);
    EXPECT_EQ(modeOf(path + QStringLiteral("-wal")), 0600u);
    EXPECT_EQ(modeOf(folder_.filePath(QStringLiteral("new/vennic"))), 0700u);
}

TEST_F(KeyValueStoreSqliteTest, aFileThatOthersCouldReadIsClosedToThem) {
    {
        KeyValueStoreSqlite(path_).set(key_, true);
    }
    chmod(QFile::encodeName(path_).constData(), 0644);
    const KeyValueStoreSqlite store(path_);
    EXPECT_EQ(modeOf(path_), 0600u);
}

TEST_F(KeyValueStoreSqliteTest, aBurstOnOneKeyCostsFewCommits) {
    const FailingDisk disk;
    KeyValueStoreSqlite store(path_);
    store.set(key_, QByteArray(1 << 20, 'a'));
    ASSERT_TRUE(store.flush());
    const int before = disk.syncs();
    for (int i = 0; i < 1000; ++i)
        store.set(key_, QByteArray(1 << 20, static_cast<char>(i)));
    ASSERT_TRUE(store.flush());
    EXPECT_LT(disk.syncs() - before, 100);
}

TEST_F(KeyValueStoreSqliteTest, writingWhatIsThereAlreadyCostsNothing) {
    const FailingDisk disk;
    KeyValueStoreSqlite store(path_);
    store.set(key_, QStringLiteral("same"));
    ASSERT_TRUE(store.flush());
    const int before = disk.syncs();
    store.set(key_, QStringLiteral("same"));
    ASSERT_TRUE(store.flush());
    EXPECT_EQ(disk.syncs(), before);
}

TEST_F(KeyValueStoreSqliteTest, aLargeValueIsKeptAndATooLargeOneIsReported) {
    KeyValueStoreSqlite store(path_);
    const QByteArray large(PreferencesFile::maxValueBytes, 'v');
    store.set(key_, large);
    ASSERT_TRUE(store.flush());
    EXPECT_EQ(KeyValueStoreSqlite(path_).value(key_), StoredValue(large));
    store.set(key_, large + 'v');
    ASSERT_TRUE(store.flush());
    EXPECT_EQ(store.problem(),
              QStringLiteral("Les réglages ne peuvent pas être enregistrés : une valeur est trop grande."));
    EXPECT_EQ(store.value(key_), StoredValue(large + 'v'));
}

TEST_F(KeyValueStoreSqliteTest, aFileThatIsNoDatabaseIsSetAsideUnderADatedName) {
    const QByteArray junk = QByteArray("not a database ").repeated(100);
    write(path_, junk);
    {
        KeyValueStoreSqlite store(path_);
        EXPECT_EQ(store.value(key_), std::nullopt);
        const auto aside = asideFiles();
        ASSERT_EQ(aside.size(), 1);
        EXPECT_TRUE(QRegularExpression(QStringLiteral("^preferences\\.sqlite\\.corrupt-\\d{8}-\\d{6}$"))
                        .match(aside[0])
                        .hasMatch());
        EXPECT_EQ(contentOf(folder_.filePath(aside[0])), junk);
        EXPECT_EQ(
            store.problem(),
            QStringLiteral("Le fichier des réglages était illisible. Il a été mis de côté sous « %1 ».").arg(aside[0]));
        store.set(key_, true);
    }
    EXPECT_EQ(KeyValueStoreSqlite(path_).value(key_), StoredValue(true));
}

TEST_F(KeyValueStoreSqliteTest, twoFilesSetAsideInOneSecondKeepTheirNames) {
    for (int i = 0; i < 3; ++i) {
        write(path_, QByteArray("junk ").repeated(100) + QByteArray::number(i));
        const KeyValueStoreSqlite store(path_);
    }
    EXPECT_EQ(QDir(folder_.path()).entryList({QStringLiteral("*.corrupt-*")}, QDir::Files).size(), 3);
}

TEST_F(KeyValueStoreSqliteTest, aFolderInTheFilesPlaceIsSetAside) {
    QDir().mkpath(path_ + QStringLiteral("/inside"));
    KeyValueStoreSqlite store(path_);
    store.set(key_, true);
    EXPECT_TRUE(store.flush());
    EXPECT_EQ(asideFiles().size(), 1);
}

TEST_F(KeyValueStoreSqliteTest, aFileOfANewerVersionIsNotOverwritten) {
    {
        KeyValueStoreSqlite(path_).set(key_, true);
    }
    {
        SqliteConnection(path_).execute("PRAGMA user_version=2");
    }
    const QByteArray before = contentOf(path_);
    {
        KeyValueStoreSqlite store(path_);
        EXPECT_EQ(store.value(key_), std::nullopt);
        store.set(key_, false);
    }
    const auto aside = QDir(folder_.path()).entryList({QStringLiteral("preferences.sqlite.newer-*")}, QDir::Files);
    ASSERT_EQ(aside.size(), 1);
    EXPECT_EQ(contentOf(folder_.filePath(aside[0])), before);
}

TEST_F(KeyValueStoreSqliteTest, anotherProgramsDatabaseIsNotOverwritten) {
    {
        SqliteConnection other(path_);
        other.execute("CREATE TABLE theirs(a); INSERT INTO theirs VALUES(1)");
    }
    const QByteArray before = contentOf(path_);
    {
        KeyValueStoreSqlite(path_).set(key_, true);
    }
    ASSERT_EQ(asideFiles().size(), 1);
    EXPECT_EQ(contentOf(folder_.filePath(asideFiles()[0])), before);
}

TEST_F(KeyValueStoreSqliteTest, rowsOfUnknownKindsPutTheFileAsideAndTheRestIsKept) {
    {
        KeyValueStoreSqlite(path_).set(key_, true);
    }
    {
        SqliteConnection(path_).execute(
            "INSERT INTO preferences VALUES('odd', 'date', 'x'), ('cross', 'bool', 'text')");
    }
    EXPECT_EQ(KeyValueStoreSqlite(path_).value(key_), StoredValue(true));
    EXPECT_EQ(asideFiles().size(), 1);
    EXPECT_EQ(KeyValueStoreSqlite(path_).value(key_), StoredValue(true));
}

TEST_F(KeyValueStoreSqliteTest, aFileCutAnywhereLoadsOrIsSetAside) {
    {
        KeyValueStoreSqlite store(path_);
        for (int i = 0; i < 40; ++i)
            store.set(QStringLiteral("k%1").arg(i), QByteArray(i * 100, static_cast<char>(i)));
    }
    const QByteArray whole = contentOf(path_);
    ASSERT_GT(whole.size(), 40000);
    for (qsizetype size = 0; size < whole.size(); size += size < 200 ? 17 : 3017) {
        const QTemporaryDir folder;
        const QString path = folder.filePath(QStringLiteral("preferences.sqlite"));
        write(path, whole.first(size));
        {
            KeyValueStoreSqlite store(path);
            for (int i = 0; i < 40; ++i) {
                const auto value = store.value(QStringLiteral("k%1").arg(i));
                EXPECT_TRUE(!value || *value == StoredValue(QByteArray(i * 100, static_cast<char>(i)))) << size;
            }
            EXPECT_EQ(store.problem().isEmpty(), size == 0) << size;
            store.set(key_, size);
        }
        const KeyValueStoreSqlite store(path);
        EXPECT_EQ(storedAs<qint64>(store, key_), size);
        EXPECT_TRUE(store.problem().isEmpty()) << size;
    }
}

TEST_F(KeyValueStoreSqliteTest, aFileWithFlippedBytesNeverEndsTheProgram) {
    {
        KeyValueStoreSqlite store(path_);
        for (int i = 0; i < 40; ++i)
            store.set(QStringLiteral("k%1").arg(i), QByteArray(i * 100, static_cast<char>(i)));
    }
    const QByteArray whole = contentOf(path_);
    std::mt19937 random(7);
    for (int round = 0; round < 60; ++round) {
        QByteArray bent = whole;
        for (int i = 0; i < 8; ++i)
            bent[static_cast<qsizetype>(random() % (round % 2 ? 4096u : static_cast<unsigned>(whole.size())))] =
                static_cast<char>(random());
        const QTemporaryDir folder;
        const QString path = folder.filePath(QStringLiteral("preferences.sqlite"));
        write(path, bent);
        KeyValueStoreSqlite store(path);
        store.set(key_, qint64{round});
        store.flush();
        EXPECT_EQ(storedAs<qint64>(store, key_), round);
    }
}

TEST_F(KeyValueStoreSqliteTest, aDiskThatFailsKeepsTheMemoryAndIsTriedAgain) {
    for (const int code : {SQLITE_FULL, SQLITE_IOERR_WRITE, SQLITE_IOERR_FSYNC}) {
        FailingDisk disk;
        KeyValueStoreSqlite store(path_);
        disk.failFrom(1, code);
        store.set(key_, qint64{code});
        EXPECT_FALSE(store.flush());
        EXPECT_EQ(storedAs<qint64>(store, key_), code);
        EXPECT_TRUE(store.problem().startsWith(QStringLiteral("Les réglages ne peuvent pas être enregistrés : ")));
        disk.heal();
        EXPECT_TRUE(waitUntil([&] { return store.problem().isEmpty(); })); // by itself
        EXPECT_EQ(storedAs<qint64>(KeyValueStoreSqlite(path_), key_), code);
    }
    EXPECT_TRUE(asideFiles().isEmpty());
}

TEST_F(KeyValueStoreSqliteTest, whicheverOperationFailsNothingIsLost) {
    for (const int code : {SQLITE_FULL, SQLITE_IOERR_WRITE}) {
        bool failed = true;
        int nth = 1;
        for (; failed; ++nth) {
            const QTemporaryDir folder;
            const QString path = folder.filePath(QStringLiteral("preferences.sqlite"));
            {
                KeyValueStoreSqlite(path).set(QStringLiteral("old"), true);
            }
            FailingDisk disk;
            {
                disk.failOnce(nth, code);
                KeyValueStoreSqlite store(path);
                store.set(key_, qint64{nth});
                store.set(QStringLiteral("data"), QByteArray(20000, 'd'));
                store.flush();
                EXPECT_TRUE(store.flush()) << nth;
                EXPECT_EQ(storedAs<qint64>(store, key_), nth);
            }
            failed = disk.hasFailed();
            disk.heal();
            const KeyValueStoreSqlite store(path);
            EXPECT_EQ(storedAs<qint64>(store, key_), nth);
            EXPECT_EQ(storedAs<bool>(store, QStringLiteral("old")), true) << nth;
            EXPECT_EQ(storedAs<QByteArray>(store, QStringLiteral("data")), QByteArray(20000, 'd')) << nth;
        }
        EXPECT_GT(nth, 5);
    }
}

TEST_F(KeyValueStoreSqliteTest, aFolderThatCannotBeMadeLeavesTheMemoryWorking) {
    write(folder_.filePath(QStringLiteral("plain")), "a file");
    KeyValueStoreSqlite store(folder_.filePath(QStringLiteral("plain/vennic/preferences.sqlite")));
    EXPECT_FALSE(store.problem().isEmpty());
    store.set(key_, true);
    EXPECT_FALSE(store.flush());
    EXPECT_EQ(store.value(key_), StoredValue(true));
}

TEST_F(KeyValueStoreSqliteTest, aKilledWriterLosesNothingThatItWasToldIsStored) {
    std::mt19937 random(3);
    qint64 reached = 0;
    for (int round = 0; round < 40; ++round) {
        std::array<int, 2> ends{};
        ASSERT_EQ(pipe(ends.data()), 0);
        const pid_t child = fork();
        if (child == 0) {
            KeyValueStoreSqlite store(path_);
            for (qint64 n = reached + 1;; ++n) {
                store.set(QStringLiteral("before"), n);
                store.set(QStringLiteral("pad"), QByteArray(static_cast<qsizetype>(200 + n % 7 * 30000), 'p'));
                store.set(QStringLiteral("after"), n);
                if (n % 2 == 0 || !store.flush())
                    continue;
                (void)!::write(ends[1], &n, sizeof n);
            }
        }
        ::close(ends[1]);
        qint64 told = reached;
        for (unsigned left = random() % 12 + 1; left > 0; --left)
            ASSERT_EQ(::read(ends[0], &told, sizeof told), static_cast<ssize_t>(sizeof told));
        kill(child, SIGKILL);
        waitpid(child, nullptr, 0);
        while (::read(ends[0], &told, sizeof told) == static_cast<ssize_t>(sizeof told)) {
        }
        ::close(ends[0]);
        const KeyValueStoreSqlite store(path_);
        EXPECT_TRUE(store.problem().isEmpty()) << store.problem().toStdString();
        reached = storedAs<qint64>(store, QStringLiteral("after")).value_or(0);
        EXPECT_GE(reached, told);
        EXPECT_GE(storedAs<qint64>(store, QStringLiteral("before")).value_or(0), reached);
    }
    EXPECT_GT(reached, 40);
    EXPECT_TRUE(asideFiles().isEmpty());
}

} // namespace vennic::test
