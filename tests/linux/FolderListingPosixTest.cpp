#include "base/LocalizedError.h"
#include "linux/FileSystemPosix.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>

#include <array>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <map>
#include <set>
#include <sys/stat.h>
#include <unistd.h>

namespace vennic::test {

class FolderListingPosixTest : public testing::Test {
protected:
    QByteArray native(const char* name) const { return QFile::encodeName(folder_.path()) + '/' + name; }
    void write(const char* name, const QByteArray& content = {}) const {
        const int file = ::open(native(name).constData(), O_WRONLY | O_CREAT | O_CLOEXEC, 0600);
        ASSERT_GE(file, 0);
        ASSERT_EQ(::write(file, content.constData(), static_cast<std::size_t>(content.size())), content.size());
        ::close(file);
    }
    void link(const char* target, const char* name) const { ASSERT_EQ(::symlink(target, native(name).constData()), 0); }
    std::map<QString, std::optional<FileValues>> listed(const QString& path) {
        std::map<QString, std::optional<FileValues>> entries;
        const auto listing = files_.list(path);
        while (auto entry = listing->next())
            EXPECT_TRUE(entries.emplace(entry->name, entry->values).second);
        return entries;
    }
    auto listed() { return listed(folder_.path()); }
    std::string failure(const QString& path) {
        try {
            listed(path);
            return "none";
        } catch (const LocalizedError& error) {
            return error.errorDescription().toStdString();
        }
    }
    QString in(const char* name) const { return folder_.filePath(QString::fromUtf8(name)); }
    QTemporaryDir folder_;
    FileSystemPosix files_;
};

TEST_F(FolderListingPosixTest, entriesHaveTheValuesOfTheirKind) {
    write("file", "12345");
    const timespec times[2]{{1'700'000'000, 0}, {1'600'000'000, 123'999'999}};
    ASSERT_EQ(utimensat(AT_FDCWD, native("file").constData(), times, 0), 0);
    ASSERT_EQ(::mkdir(native("folder").constData(), 0700), 0);
    ASSERT_EQ(::mkfifo(native("pipe").constData(), 0600), 0);
    const auto entries = listed();
    ASSERT_EQ(entries.size(), 3u);
    const auto file = entries.at(QStringLiteral("file"));
    ASSERT_TRUE(file);
    EXPECT_EQ(*file, (FileValues{.isDirectory = false,
                                 .size = 5,
                                 .changedAt = QDateTime::fromMSecsSinceEpoch(1'600'000'000'123, Qt::UTC),
                                 .volumeIsLocal = {}}));
    EXPECT_TRUE(entries.at(QStringLiteral("folder"))->isDirectory);
    EXPECT_EQ(entries.at(QStringLiteral("folder"))->size, std::nullopt);
    EXPECT_FALSE(entries.at(QStringLiteral("pipe"))->isDirectory);
    EXPECT_EQ(entries.at(QStringLiteral("pipe"))->size, std::nullopt);
}

TEST_F(FolderListingPosixTest, aLinkHasTheValuesOfWhatItLeadsToAndNoneWhenItLeadsNowhere) {
    write("file", "1234");
    link("file", "to file");
    link("/", "to root");
    link("nothing", "dangling");
    link("circle", "circle");
    const auto entries = listed();
    EXPECT_EQ(entries.at(QStringLiteral("to file"))->size, 4);
    EXPECT_TRUE(entries.at(QStringLiteral("to root"))->isDirectory);
    EXPECT_EQ(entries.at(QStringLiteral("dangling")), std::nullopt);
    EXPECT_EQ(entries.at(QStringLiteral("circle")), std::nullopt);
}

TEST_F(FolderListingPosixTest, namesThatAreNoTextAreLeftOutAndAllOthersKeptAsTheyAre) {
    const std::array noText{"\xff", "a\xc3", "a\xed\xa0\x80"};
    for (const char* name : noText)
        write(name);
    for (const char* name : {"a\nb", "e\xcc\x81", "\xc3\xa9", " ", "a\\b", "*", "~"})
        write(name);
    const std::string longest(255, 'n');
    write(longest.c_str());
    std::set<std::string> names;
    for (const auto& [name, values] : listed())
        names.insert(name.toStdString());
    EXPECT_EQ(names, (std::set<std::string>{"a\nb", "e\xcc\x81", "\xc3\xa9", " ", "a\\b", "*", "~", longest}));
    for (const char* name : noText) // the temporary folder doesn't see them either
        EXPECT_EQ(::unlink(native(name).constData()), 0);
}

TEST_F(FolderListingPosixTest, aLinkToAFolderIsListedThroughAndTheLinksOfProcAreNot) {
    ASSERT_EQ(::mkdir(native("folder").constData(), 0700), 0);
    write("folder/inside");
    link("folder", "link");
    link("/proc/self/root", "magic");
    link("/proc/self/cwd", "cwd");
    EXPECT_EQ(listed(in("link")).size(), 1u);
    for (const char* name : {"magic", "cwd"})
        EXPECT_EQ(failure(in(name)), "Ses liens symboliques ne mènent nulle part.") << name;
}

TEST_F(FolderListingPosixTest, theReasonOfAFailureIsASentence) {
    write("file");
    ASSERT_EQ(::mkfifo(native("pipe").constData(), 0600), 0);
    link("circle", "circle");
    EXPECT_EQ(failure(in("missing")), "Ce dossier n'existe pas.");
    EXPECT_EQ(failure(in("file")), "Ce n'est pas un dossier.");
    EXPECT_EQ(failure(in("file/below")), "Ce n'est pas un dossier.");
    EXPECT_EQ(failure(in("pipe")), "Ce n'est pas un dossier.");
    EXPECT_EQ(failure(QStringLiteral("/dev/null")), "Ce n'est pas un dossier.");
    EXPECT_EQ(failure(in("circle")), "Ses liens symboliques ne mènent nulle part.");
    EXPECT_EQ(failure(folder_.path() + u'/' + QString(256, u'n')), "Son chemin est trop long.");
    EXPECT_EQ(failure(QString(5000, u'/') + QString(5000, u'a')), "Son chemin est trop long.");
    for (const QString& path :
         {QString(), QStringLiteral("relative"), folder_.path() + QChar::Null, folder_.path() + u'/' + QChar(0xd800)})
        EXPECT_EQ(failure(path), "Son chemin n'est pas valable.");
}

TEST_F(FolderListingPosixTest, aFolderThatIsMovedMeanwhileIsListedToItsEnd) {
    ASSERT_EQ(::mkdir(native("before").constData(), 0700), 0);
    for (int number = 0; number < 2000; ++number)
        write(("before/" + std::to_string(number)).c_str(), "x");
    const auto listing = files_.list(in("before"));
    int count = 0;
    while (const auto entry = listing->next()) {
        if (++count == 10)
            ASSERT_EQ(::rename(native("before").constData(), native("after").constData()), 0);
        ASSERT_TRUE(entry->values) << entry->name.toStdString();
        EXPECT_EQ(entry->values->size, 1);
    }
    EXPECT_EQ(count, 2000);
}

TEST_F(FolderListingPosixTest, aFolderThatIsDeletedMeanwhileEnds) {
    ASSERT_EQ(::mkdir(native("gone").constData(), 0700), 0);
    const auto listing = files_.list(in("gone"));
    ASSERT_EQ(::rmdir(native("gone").constData()), 0);
    EXPECT_EQ(listing->next(), std::nullopt);
}

} // namespace vennic::test
