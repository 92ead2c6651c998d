#include "base/WholeFile.h"

#include "base/LocalizedError.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>

#include <csignal>
#include <functional>
#include <gtest/gtest.h>
#include <sys/resource.h>

using namespace vennic;

namespace {

struct WholeFileTest : testing::Test {
    QTemporaryDir folder;
    QString path = folder.filePath(QStringLiteral("un/deux/fichier"));

    QString content() const {
        QFile file(path);
        return file.open(QIODevice::ReadOnly) ? QString::fromUtf8(file.readAll()) : QStringLiteral("absent");
    }
    /// What a failure says; nothing without one.
    static QString sentence(const std::function<void()>& act) {
        try {
            act();
        } catch (const LocalizedError& error) {
            return error.errorDescription();
        }
        return {};
    }
    QString write(const QByteArray& text) const {
        return sentence([&] { writeWholeFile(path, text); });
    }
};

/// Files of this process grow no further than this while it lives.
class SizeLimit {
public:
    explicit SizeLimit(rlim_t bytes) : signal_(std::signal(SIGXFSZ, SIG_IGN)) {
        ::getrlimit(RLIMIT_FSIZE, &before_);
        const rlimit limit{bytes, before_.rlim_max};
        ::setrlimit(RLIMIT_FSIZE, &limit);
    }
    SizeLimit(const SizeLimit&) = delete;
    SizeLimit& operator=(const SizeLimit&) = delete;
    ~SizeLimit() {
        ::setrlimit(RLIMIT_FSIZE, &before_);
        std::signal(SIGXFSZ, signal_);
    }

private:
    rlimit before_{};
    void (*signal_)(int);
};

} // namespace

TEST_F(WholeFileTest, isWrittenWithTheFoldersAboveItAndOverWhatWasThere) {
    EXPECT_EQ(write("premier, et plus long"), QString());
    EXPECT_EQ(content(), QStringLiteral("premier, et plus long"));
    EXPECT_EQ(write("second"), QString());
    EXPECT_EQ(content(), QStringLiteral("second"));
    EXPECT_EQ(QFileInfo(path).dir().entryList(QDir::Files | QDir::Hidden), QStringList{QStringLiteral("fichier")});
}

TEST_F(WholeFileTest, aFolderThatCannotBeMadeIsToldInFrench) {
    QFile inTheWay(folder.filePath(QStringLiteral("un")));
    ASSERT_TRUE(inTheWay.open(QIODevice::WriteOnly));
    EXPECT_EQ(write("x"), QStringLiteral("Le dossier ") + QFileInfo(path).path() +
                              QStringLiteral(" ne peut pas être créé : ce n'est pas un dossier"));
    const QString name(300, u'x');
    EXPECT_EQ(sentence([&] { makeFolder(folder.filePath(name)); }),
              QStringLiteral("Le dossier ") + folder.filePath(name) +
                  QStringLiteral(" ne peut pas être créé : nom trop long"));
}

TEST_F(WholeFileTest, aFolderInItsPlaceIsToldInFrench) {
    ASSERT_TRUE(QDir().mkpath(path));
    EXPECT_EQ(write("x"), path + QStringLiteral(" ne peut pas être écrit : c'est un dossier"));
}

TEST_F(WholeFileTest, aDiskThatTakesNoMoreIsToldInFrenchAndTheOldFileStays) {
    ASSERT_EQ(write("ancien"), QString());
    const SizeLimit limit(4096);
    // Less than what is gathered before it is written, and more.
    for (const int size : {5000, 200'000}) {
        EXPECT_EQ(write(QByteArray(size, 'x')), path + QStringLiteral(" ne peut pas être écrit : fichier trop gros"));
        EXPECT_EQ(content(), QStringLiteral("ancien"));
        EXPECT_EQ(QFileInfo(path).dir().entryList(QDir::Files | QDir::Hidden), QStringList{QStringLiteral("fichier")});
    }
}
