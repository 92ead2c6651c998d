#include "linux/photos/PicturesFolder.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>

#include <gtest/gtest.h>

using namespace vennic::photos;

namespace {

class PicturesFolder : public ::testing::Test {
protected:
    void SetUp() override {
        ASSERT_TRUE(QDir(home()).mkpath(QStringLiteral("Images/2024")));
        qputenv("HOME", home().toUtf8());
        qputenv("XDG_CONFIG_HOME", (home() + QStringLiteral("/.config")).toUtf8());
        ASSERT_TRUE(QDir(home()).mkpath(QStringLiteral(".config")));
    }
    QString home() const { return QDir(base_.path()).canonicalPath() + QStringLiteral("/marie"); }
    QString below(const char* name) const { return home() + u'/' + QString::fromUtf8(name); }
    void userDirs(const QByteArray& text) const {
        QFile file(below(".config/user-dirs.dirs"));
        ASSERT_TRUE(file.open(QIODevice::WriteOnly));
        file.write(text);
    }

private:
    QTemporaryDir base_;
};

} // namespace

TEST_F(PicturesFolder, isTheOneOfTheUsersFolders) {
    userDirs("# xdg-user-dirs\nXDG_MUSIC_DIR=\"$HOME/Musique\"\nXDG_PICTURES_DIR=\"$HOME/Images\"\n");
    EXPECT_EQ(picturesFolder(), below("Images"));
    userDirs("XDG_PICTURES_DIR=\"" + below("Images/2024").toUtf8() + "\"\n");
    EXPECT_EQ(picturesFolder(), below("Images/2024"));
}

TEST_F(PicturesFolder, isNamedAlsoWhenItIsNotThere) {
    userDirs("XDG_PICTURES_DIR=\"$HOME/Absent\"\n");
    EXPECT_EQ(picturesFolder(), below("Absent"));
}

TEST_F(PicturesFolder, withoutASettingIsTheUsualOne) { EXPECT_EQ(picturesFolder(), below("Pictures")); }

TEST_F(PicturesFolder, theHomeFolderMeansThatThereIsNone) {
    for (const char* setting : {"XDG_PICTURES_DIR=\"$HOME/\"\n", "XDG_PICTURES_DIR=\"$HOME\"\n"}) {
        userDirs(setting);
        EXPECT_EQ(picturesFolder(), QString()) << setting;
    }
}

TEST_F(PicturesFolder, whatHoldsTheHomeFolderIsNoneByAnyName) {
    ASSERT_TRUE(QFile::link(home(), below("chez-moi")));
    for (const QString& path :
         {home(), home() + u'/', home() + QStringLiteral("/."), below("Images/.."), QFileInfo(home()).path(),
          QStringLiteral("/"), below("chez-moi"), QString(), QStringLiteral("Images"), QStringLiteral("~/Images")})
        EXPECT_EQ(asPicturesFolder(path, home()), QString()) << path.toStdString();
    EXPECT_EQ(asPicturesFolder(below("Images"), home()), below("Images"));
    EXPECT_EQ(asPicturesFolder(home() + QStringLiteral("-autre"), home()), home() + QStringLiteral("-autre"));
}

TEST_F(PicturesFolder, aLinkStandsForItsTarget) {
    ASSERT_TRUE(QFile::link(below("Images/2024"), below("Photos")));
    EXPECT_EQ(asPicturesFolder(below("Photos"), home()), below("Images/2024"));
}
