#include "linux/thumbnail/InstalledThumbnailer.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>

#include <gtest/gtest.h>

using namespace vennic;

namespace {

class InstalledThumbnailerTest : public testing::Test {
protected:
    void write(const char* name, const QByteArray& content) {
        const QString path = root_.filePath(QString::fromUtf8(name));
        QDir().mkpath(QFileInfo(path).path());
        QFile file(path);
        ASSERT_TRUE(file.open(QIODevice::WriteOnly) && file.write(content) == content.size());
    }
    std::optional<InstalledThumbnailer> found(const char* type) {
        return installedThumbnailer(QString::fromUtf8(type),
                                    {root_.filePath(QStringLiteral("home")), root_.filePath(QStringLiteral("nowhere")),
                                     root_.filePath(QStringLiteral("system"))});
    }
    QTemporaryDir root_;
};

QByteArray entry(const QByteArray& lines) { return "[Thumbnailer Entry]\n" + lines; }

} // namespace

TEST_F(InstalledThumbnailerTest, isFoundByTheTypesThatItNames) {
    write("system/thumbnailers/film.thumbnailer", entry("Exec=sh -c 'a b' %i\nMimeType=video/mp4;video/webm;\n"));
    EXPECT_EQ(found("video/webm"), (InstalledThumbnailer{{"sh", "-c", "a b", "%i"}}));
    EXPECT_EQ(found("video/web"), std::nullopt);
    EXPECT_EQ(found("video/webm2"), std::nullopt);
    EXPECT_EQ(found(""), std::nullopt);
}

TEST_F(InstalledThumbnailerTest, theUsersOwnAndTheFirstNameComeFirst) {
    write("system/thumbnailers/b.thumbnailer", entry("Exec=cat b\nMimeType=x/a;x/b;x/c;\n"));
    write("system/thumbnailers/a.thumbnailer", entry("Exec=cat a\nMimeType=x/a;x/b;\n"));
    write("home/thumbnailers/z.thumbnailer", entry("Exec=cat z\nMimeType=x/a;\n"));
    EXPECT_EQ(found("x/a")->exec, (QList<QByteArray>{"cat", "z"}));
    EXPECT_EQ(found("x/b")->exec, (QList<QByteArray>{"cat", "a"}));
    EXPECT_EQ(found("x/c")->exec, (QList<QByteArray>{"cat", "b"}));
}

TEST_F(InstalledThumbnailerTest, oneWhoseProgramIsNotThereIsPassedOver) {
    write("home/thumbnailers/a.thumbnailer", entry("TryExec=/nowhere/x\nExec=cat a\nMimeType=x/a;\n"));
    write("home/thumbnailers/b.thumbnailer", entry("Exec=no-such-program-4711 b\nMimeType=x/a;\n"));
    write("home/thumbnailers/c.thumbnailer", entry("TryExec=cat\nExec=cat c\nMimeType=x/a;\n"));
    EXPECT_EQ(found("x/a")->exec, (QList<QByteArray>{"cat", "c"}));
}

TEST_F(InstalledThumbnailerTest, whatIsNotWellFormedIsPassedOver) {
    write("home/thumbnailers/a.thumbnailer", "Exec=cat a\nMimeType=x/a;\n");
    write("home/thumbnailers/b.thumbnailer", entry("Exec=cat 'b\nMimeType=x/a;\n"));
    write("home/thumbnailers/c.thumbnailer", entry("MimeType=x/a;\n"));
    write("home/thumbnailers/d.thumbnailer", entry("Exec=\nMimeType=x/a;\n"));
    write("home/thumbnailers/e.thumbnailer", "\0\xff\xfe");
    write("home/thumbnailers/f.thumbnailer", entry("Exec=cat f\nMimeType=x/a;\n") + QByteArray(100'000, '#'));
    write("home/thumbnailers/g.other", entry("Exec=cat g\nMimeType=x/a;\n"));
    write("home/thumbnailers/h.thumbnailer/x", "a folder");
    EXPECT_EQ(found("x/a"), std::nullopt);
}

TEST_F(InstalledThumbnailerTest, thePlaceholdersAreFilledWithinTheirArguments) {
    const InstalledThumbnailer thumbnailer{{"draw", "%i", "--out=%o", "%s%%", "%u", "%x-%", "; rm %i"}};
    EXPECT_EQ(thumbnailer.command("/tmp/a b$(c).mp4", "/tmp/o.png", 256),
              (QList<QByteArray>{"draw", "/tmp/a b$(c).mp4", "--out=/tmp/o.png", "256%", "file:///tmp/a%20b$(c).mp4",
                                 "-%", "; rm /tmp/a b$(c).mp4"}));
    // What a placeholder brings is not looked through for others.
    EXPECT_EQ(InstalledThumbnailer{{"%i"}}.command("%o%s", "/o", 1), (QList<QByteArray>{"%o%s"}));
}

TEST(DataFolders, followTheEnvironment) {
    qputenv("XDG_DATA_HOME", "/tmp/data-home");
    qputenv("XDG_DATA_DIRS", "/tmp/one:/tmp/two");
    EXPECT_EQ(dataFolders(),
              (QStringList{QStringLiteral("/tmp/data-home"), QStringLiteral("/tmp/one"), QStringLiteral("/tmp/two")}));
}
