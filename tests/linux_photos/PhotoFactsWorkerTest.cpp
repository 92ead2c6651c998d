#include "linux/photos/PhotoFactsWorker.h"

#include "linux/FileDescriptor.h"
#include "support/PictureMaker.h"
#include "worker/PhotoReader.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>

#include <csignal>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sched.h>
#include <thread>
#include <unistd.h>

using namespace vennic;
using namespace vennic::photos;
using namespace vennic::test;

namespace {

using Outcome = PhotoFactsReader::Outcome;
using Haste = PhotoFactsReader::Haste;

class PhotoFactsWorkerTest : public ::testing::Test {
protected:
    PhotoFactsReader::Result read(const QByteArray& bytes, Haste haste = Haste::none) {
        QFile file(folder_.filePath(QStringLiteral("photo")));
        EXPECT_TRUE(file.open(QIODevice::WriteOnly));
        file.write(bytes);
        file.close();
        const FileDescriptor open(::open(file.fileName().toUtf8().constData(), O_RDONLY | O_CLOEXEC));
        return worker_.read(open.number(), haste);
    }
    static QByteArray data(const char* name) {
        QFile file(QStringLiteral(VENNIC_TEST_DATA "/photos/") + QLatin1String(name));
        EXPECT_TRUE(file.open(QIODevice::ReadOnly));
        return file.readAll();
    }
    /// The process that reads: this one's only child.
    static pid_t process() {
        QFile children(QStringLiteral("/proc/%1/task/%1/children").arg(getpid()));
        for (const QString& task :
             QDir(QStringLiteral("/proc/self/task")).entryList(QDir::Dirs | QDir::NoDotAndDotDot)) {
            QFile file(QStringLiteral("/proc/self/task/%1/children").arg(task));
            if (file.open(QIODevice::ReadOnly)) {
                if (const QByteArray number = file.readAll().trimmed(); !number.isEmpty())
                    return number.toInt();
            }
        }
        return -1;
    }

    QTemporaryDir folder_;
    const QString program_ = QStringLiteral(VENNIC_PICTURE_WORKER_PROGRAM);
    std::shared_ptr<WorkerLane> awaited_ = std::make_shared<WorkerLane>(DocumentWorkerOptions::pictures(program_));
    PhotoFactsWorker worker_{program_, awaited_};
};

} // namespace

TEST_F(PhotoFactsWorkerTest, theBoxChangesNoAnswer) {
    worker::warmUpPhotos();
    const ExifMaker exif = ExifMaker().takenAt("2024:07:14 12:30:45", "+02:00", "678").at(48, 2);
    ExifMaker lying = exif;
    lying.photo[0].count = 0xffffffff;
    for (const QByteArray& bytes :
         {jpegWith(exif.block()), jpegWith(), jpegWith("nonsense"), jpegWith(lying.block()), pngWith(exif.block()),
          webpWith(exif.block()), tiffWith(exif), gifPicture(), bmpPicture(), data("dated.heic"), data("dated.avif"),
          data("dated.heic").chopped(1), QByteArray("bonjour"), QByteArray()}) {
        const auto boxed = read(bytes);
        EXPECT_EQ(boxed.outcome, Outcome::read);
        EXPECT_EQ(boxed.facts, worker::photoFacts({bytes.constData(), static_cast<std::size_t>(bytes.size())}))
            << bytes.left(8).toHex().toStdString();
    }
}

TEST_F(PhotoFactsWorkerTest, aDeadProcessIsReplaced) {
    EXPECT_EQ(read(jpegWith()).outcome, Outcome::read);
    const pid_t first = process();
    ASSERT_GT(first, 0);
    kill(first, SIGKILL);
    // Whether it is found dead before or after it gets the next file, the one after that is read.
    read(jpegWith());
    EXPECT_EQ(read(jpegTaken("2024:07:14 12:30:45")).facts.dated, 1);
    EXPECT_NE(process(), first);
}

TEST_F(PhotoFactsWorkerTest, aProgramThatIsNotThereFails) {
    PhotoFactsWorker absent(QStringLiteral("/nulle/part"), awaited_);
    QFile file(folder_.filePath(QStringLiteral("photo")));
    ASSERT_TRUE(file.open(QIODevice::ReadWrite));
    EXPECT_EQ(absent.read(file.handle(), Haste::none).outcome, Outcome::failed);
}

TEST_F(PhotoFactsWorkerTest, afterItsEndNothingIsSaidOfAFile) {
    EXPECT_EQ(read(jpegWith()).outcome, Outcome::read);
    worker_.close();
    EXPECT_EQ(read(jpegWith()).outcome, Outcome::ended);
}

TEST_F(PhotoFactsWorkerTest, whoWaitsHasAProcessThatIsNotIdle) {
    EXPECT_EQ(read(jpegWith(), Haste::none).outcome, Outcome::read);
    const pid_t idle = process();
    EXPECT_EQ(sched_getscheduler(idle), SCHED_IDLE);
    kill(idle, SIGSTOP); // as on a machine that has better things to do
    EXPECT_EQ(read(jpegWith(), Haste::awaited).outcome, Outcome::read);
    kill(idle, SIGCONT);
}

TEST_F(PhotoFactsWorkerTest, aReadingWithoutHasteIsGivenUpForWhoWaits) {
    EXPECT_EQ(read(jpegWith()).outcome, Outcome::read);
    worker_.hurry(); // nothing is being read: nothing is given up
    const pid_t idle = process();
    ASSERT_GT(idle, 0);
    kill(idle, SIGSTOP);
    std::atomic<bool> ended = false;
    std::thread hurried([&] {
        while (!ended) {
            worker_.hurry();
            std::this_thread::yield();
        }
    });
    EXPECT_EQ(read(jpegWith()).outcome, Outcome::interrupted);
    ended = true;
    hurried.join();
    EXPECT_EQ(read(jpegTaken("2024:07:14 12:30:45"), Haste::awaited).facts.dated, 1);
    EXPECT_EQ(read(jpegTaken("2024:07:14 12:30:45"), Haste::none).facts.dated, 1);
    worker_.close();
    EXPECT_EQ(read(jpegWith(), Haste::none).outcome, Outcome::ended);
}

TEST_F(PhotoFactsWorkerTest, whatIsNoRegularFileIsRefused) {
    const FileDescriptor folder(::open(folder_.path().toUtf8().constData(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    EXPECT_EQ(worker_.read(folder.number(), Haste::none).outcome, Outcome::refused);
}
