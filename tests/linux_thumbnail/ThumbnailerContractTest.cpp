#include "contracts/ThumbnailerContract.h"

#include "fakes/ThumbnailerFake.h"
#include "linux/thumbnail/ThumbnailerDesktop.h"
#include "linux/worker/WorkerLane.h"
#include "worker/WorkerFolder.h"
#include "worker/thumbnail/Finish.h"

using namespace vennic;
using namespace vennic::test;

namespace {

class FakeWorld final : public ThumbnailerWorld {
public:
    Thumbnailer& thumbnailer() override { return thumbnailer_; }
    QString addPhoto(int width, int height) override {
        const QString path = QStringLiteral("/%1").arg(++count_);
        thumbnailer_.add(path, width, height);
        return path;
    }
    QString addText() override { return QStringLiteral("/notes.txt"); }
    QString folder() override { return QStringLiteral("/"); }
    QString missing() override { return QStringLiteral("/absent"); }

private:
    ThumbnailerFake thumbnailer_;
    int count_ = 0;
};

class DesktopWorld final : public ThumbnailerWorld {
public:
    Thumbnailer& thumbnailer() override { return thumbnailer_; }
    QString addPhoto(int width, int height) override {
        const worker::Raster photo(width, height, worker::Raster::Kind::opaque);
        return folder_.add(QString::number(++count_), QByteArray::fromStdString(worker::encodePng(photo)));
    }
    QString addText() override { return folder_.add(QStringLiteral("notes.txt"), "Bonjour"); }
    QString folder() override { return QFileInfo(folder_.path(QStringLiteral("x"))).path(); }
    QString missing() override { return folder_.path(QStringLiteral("absent")); }

private:
    WorkerFolder folder_;
    ThumbnailerDesktop thumbnailer_{
        std::make_shared<WorkerLane>(DocumentWorkerOptions::pictures(pictureWorkerProgram())), {}};
    int count_ = 0;
};

using Worlds = ::testing::Types<FakeWorld, DesktopWorld>;

} // namespace

namespace vennic::test {
INSTANTIATE_TYPED_TEST_SUITE_P(FakeAndDesktop, ThumbnailerContract, Worlds);
}

TEST(NoThumbnailer, drawsNothing) {
    EXPECT_EQ(NoThumbnailer().thumbnail(QStringLiteral("/a.png"), 128, 2.0, {}), std::nullopt);
}
