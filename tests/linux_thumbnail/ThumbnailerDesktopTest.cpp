#include "linux/thumbnail/ThumbnailerDesktop.h"

#include "linux/thumbnail/SandboxedCommand.h"
#include "linux/worker/WorkerLane.h"
#include "worker/PdfMaker.h"
#include "worker/WorkerFolder.h"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <thread>

using namespace vennic;
using namespace vennic::test;

namespace {

/// Programs that draw films, beside the boxed process. Each is a line for the shell, which finds the file as $1, the
/// picture to be written as $2 and its size as $3.
class ThumbnailerDesktopTest : public testing::Test {
protected:
    void SetUp() override { ASSERT_TRUE(SandboxedCommand::isPossible()) << "bubblewrap is not installed"; }
    void install(const char* name, const QByteArray& types, const QByteArray& script) {
        QDir().mkpath(folder_.path(QStringLiteral("data/thumbnailers")));
        folder_.add(QStringLiteral("data/thumbnailers/%1.thumbnailer").arg(QString::fromUtf8(name)),
                    "[Thumbnailer Entry]\nTryExec=sh\nExec=sh -c \"" + script + "\" sh %i %o %s\nMimeType=" + types +
                        "\n");
    }
    /// A made-up film that such a program shows by copying it: its bytes are a picture's.
    QString film(const char* name, const char* picture) {
        return folder_.add(QString::fromUtf8(name),
                           fileBytes(dataFolder() + QStringLiteral("/pictures/") + QString::fromLatin1(picture)));
    }
    std::optional<std::pair<int, int>> size(const QString& path, int edge = 64, double scale = 1.0) {
        const auto drawn = thumbnailer_.thumbnail(path, edge, scale, {});
        if (!drawn)
            return std::nullopt;
        EXPECT_TRUE(drawn->png.startsWith("\x89PNG"));
        return std::pair(drawn->width, drawn->height);
    }
    WorkerFolder folder_;
    std::shared_ptr<WorkerLane> pictures_ =
        std::make_shared<WorkerLane>(DocumentWorkerOptions::pictures(pictureWorkerProgram()));
    ThumbnailerDesktop thumbnailer_{pictures_, {folder_.path(QStringLiteral("data"))}};
    const std::pair<int, int> whole_{64, 48};
};

} // namespace

TEST_F(ThumbnailerDesktopTest, pagesPicturesAndDrawingsAreDrawnWithoutAnyInstalledProgram) {
    EXPECT_EQ(size(film("a.png", "corners.png")), whole_);
    EXPECT_EQ(size(film("a.heic", "corners.heic")), whole_);
    EXPECT_EQ(
        size(folder_.add(QStringLiteral("a.svg"), "<svg xmlns='http://www.w3.org/2000/svg' width='2' height='1'/>")),
        std::pair(64, 32));
    EXPECT_EQ(size(dataFolder() + QStringLiteral("/documents/small.pdf"), 128, 2.0), std::pair(181, 256));
}

TEST_F(ThumbnailerDesktopTest, anInstalledProgramDrawsWhatTheBoxedProcessCannot) {
    EXPECT_EQ(size(film("a.mp4", "corners.webp")), whole_); // without a program, what its bytes are
    EXPECT_EQ(size(folder_.add(QStringLiteral("b.mp4"), "a film")), std::nullopt);
    install("film", "video/mp4;", "exec cat < $1 > $2");
    EXPECT_EQ(size(film("a.mp4", "corners.png")), whole_);
    EXPECT_EQ(size(film("a.mp4", "corners.png"), 16, 2.0), std::pair(32, 24)); // whatever size the program made
    EXPECT_EQ(size(folder_.add(QStringLiteral("b.mp4"), "no picture")), std::nullopt);
}

TEST_F(ThumbnailerDesktopTest, aFilmIsDrawnByTheProgramThatThisMachineHasForIt) {
    ASSERT_TRUE(installedThumbnailer(QStringLiteral("video/mp4"), {QStringLiteral("/usr/share")}))
        << "no program draws films here";
    ThumbnailerDesktop installed(pictures_, {QStringLiteral("/usr/share")});
    const auto drawn = installed.thumbnail(dataFolder() + QStringLiteral("/pictures/film.mp4"), 64, 2.0, {});
    ASSERT_TRUE(drawn.has_value());
    EXPECT_EQ(std::pair(drawn->width, drawn->height), std::pair(128, 96));
}

TEST_F(ThumbnailerDesktopTest, aProgramLearnsTheSizeInPixels) {
    install("film", "video/mp4;", "test $3 = 256 && exec cat < $1 > $2");
    EXPECT_EQ(size(film("a.mp4", "corners.png"), 128, 2.0), whole_);
    EXPECT_EQ(size(film("a.mp4", "corners.png"), 128, 1.0), std::nullopt);
}

TEST_F(ThumbnailerDesktopTest, noProgramIsAskedForWhatTheBoxedProcessDraws) {
    install("everything", "image/png;image/jpeg;application/pdf;image/svg+xml;image/heif;image/webp;", "exit 1");
    EXPECT_EQ(size(film("a.png", "corners.png")), whole_);
    EXPECT_EQ(size(film("a.jpg", "corners.jpg")), whole_);
    EXPECT_EQ(size(film("a.heic", "corners.heic")), whole_);
}

TEST_F(ThumbnailerDesktopTest, whatAProgramMakesIsTrustedNoMoreThanAnyFile) {
    const QString path = folder_.add(QStringLiteral("a.mp4"), "a film");
    for (const char* script : {"exit 0", "exit 1", "echo no picture > $2", "exec head -c 1000000 /dev/urandom > $2",
                               "exec rm -f $2", "exec cat < /dev/zero > $2", "printf '\\\\211PNG' > $2"}) {
        install("film", "video/mp4;", script);
        EXPECT_EQ(size(path), std::nullopt) << script;
    }
    EXPECT_EQ(size(film("b.png", "corners.png")), whole_);
}

TEST_F(ThumbnailerDesktopTest, aFileThatIsNotOneIsNeverGivenToAProgram) {
    install("film", "video/mp4;", "cat < $1 > $2");
    const QString pipe = folder_.path(QStringLiteral("pipe.mp4"));
    ASSERT_EQ(mkfifo(qPrintable(pipe), 0600), 0);
    EXPECT_EQ(size(pipe), std::nullopt);
    const QString inside = folder_.path(QStringLiteral("folder.mp4"));
    ASSERT_TRUE(QDir().mkdir(inside));
    EXPECT_EQ(size(inside), std::nullopt);
    EXPECT_EQ(size(folder_.path(QStringLiteral("absent.mp4"))), std::nullopt);
    ASSERT_TRUE(QFile::link(QStringLiteral("/dev/zero"), folder_.path(QStringLiteral("zero.mp4"))));
    EXPECT_EQ(size(folder_.path(QStringLiteral("zero.mp4"))), std::nullopt);
}

TEST_F(ThumbnailerDesktopTest, whoeverIsToldToStopGivesUpAndTheNextIsDrawn) {
    const QString bomb = folder_.add(QStringLiteral("a.pdf"), flateBomb(4096));
    const QString picture = film("a.png", "corners.png");
    const auto stopped = [this](const QString& path) {
        std::stop_source stop;
        std::thread waiting([&] { EXPECT_EQ(thumbnailer_.thumbnail(path, 64, 1.0, stop.get_token()), std::nullopt); });
        stop.request_stop();
        waiting.join();
    };
    stopped(bomb);
    EXPECT_EQ(size(picture), whole_);
    if (!SandboxedCommand::isPossible())
        return;
    install("film", "video/mp4;", "exec sleep 1000");
    stopped(folder_.add(QStringLiteral("a.mp4"), "a film"));
    EXPECT_EQ(size(picture), whole_);
}

TEST_F(ThumbnailerDesktopTest, closingEndsTheProgramThatRuns) {
    install("film", "video/mp4;", "exec sleep 1000");
    const QString path = folder_.add(QStringLiteral("a.mp4"), "a film");
    std::thread waiting([&] { EXPECT_EQ(size(path), std::nullopt); });
    thumbnailer_.close();
    waiting.join();
    EXPECT_EQ(size(path), std::nullopt); // and every one to come
}
