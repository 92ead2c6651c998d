#include "contracts/TextRecognizerContract.h"

#include "fakes/TextRecognizerFake.h"
#include "linux/worker/TextRecognizerWorker.h"
#include "linux/worker/WorkerLane.h"
#include "worker/PictureMaker.h"
#include "worker/WorkerFolder.h"

using namespace vennic;
using namespace vennic::test;

namespace {

class FakeWorld final : public TextRecognizerWorld {
public:
    TextRecognizer& recognizer() override { return recognizer_; }
    QString addImage(const QStringList& asciiLines) override {
        const QString path = newPath();
        recognizer_.addImage(path, asciiLines.join(u'\n'));
        return path;
    }
    QString addPdf(const QList<Page>& pages) override {
        std::vector<TextRecognizerFake::Page> made;
        for (const Page& page : pages)
            made.push_back({page.layer, page.scan.join(u'\n')});
        const QString path = newPath();
        recognizer_.addPdf(path, std::move(made));
        return path;
    }
    QString missing() override { return QStringLiteral("/nulle/part"); }
    void remove(const QString& path) override { recognizer_.remove(path); }

private:
    QString newPath() { return QStringLiteral("/%1").arg(++count_); }

    TextRecognizerFake recognizer_;
    int count_ = 0;
};

class BoxedWorld final : public TextRecognizerWorld {
public:
    TextRecognizer& recognizer() override { return recognizer_; }
    QString addImage(const QStringList& asciiLines) override {
        return add(encoded(pictureSaying(asciiLines), ImageForm::png));
    }
    QString addPdf(const QList<Page>& pages) override { return add(pdfOf(pages)); }
    QString missing() override { return folder_.path(QStringLiteral("absent")); }
    void remove(const QString& path) override { EXPECT_TRUE(QFile::remove(path)); }

private:
    QString add(const QByteArray& bytes) { return folder_.add(QString::number(++count_), bytes); }

    WorkerFolder folder_;
    TextRecognizerWorker recognizer_{
        std::make_shared<WorkerLane>(DocumentWorkerOptions::pictures(pictureWorkerProgram()))};
    int count_ = 0;
};

using Worlds = ::testing::Types<FakeWorld, BoxedWorld>;

} // namespace

namespace vennic::test {
INSTANTIATE_TYPED_TEST_SUITE_P(RecognizersFakeAndBoxed, TextRecognizerContract, Worlds);
}
