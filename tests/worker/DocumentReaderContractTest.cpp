#include "contracts/DocumentReaderContract.h"

#include "fakes/DocumentReaderFake.h"
#include "worker/PdfMaker.h"
#include "worker/WorkerFolder.h"

using namespace vennic;
using namespace vennic::test;

namespace {

class FakeWorld final : public DocumentReaderWorld {
public:
    DocumentReader& reader() override { return reader_; }
    QString addText(const QString& text) override { return add(DocumentReaderFake::Form::plainText, text); }
    QString addRtf(const QString& text) override { return add(DocumentReaderFake::Form::rtf, text); }
    QString addPdf(const QString& text) override {
        return add(DocumentReaderFake::Form::pdf, text + QStringLiteral("\n"));
    }
    QString missing() override { return QStringLiteral("/nulle/part"); }

private:
    QString add(DocumentReaderFake::Form form, const QString& text) {
        const QString path = QStringLiteral("/%1").arg(++count_);
        reader_.add(path, form, text, text.toUtf8().size());
        return path;
    }

    DocumentReaderFake reader_;
    int count_ = 0;
};

class BoxedWorld final : public DocumentReaderWorld {
public:
    DocumentReader& reader() override { return reader_; }
    QString addText(const QString& text) override { return add(text.toUtf8()); }
    QString addRtf(const QString& text) override { return add("{\\rtf1 " + text.toLatin1() + "}"); }
    QString addPdf(const QString& text) override { return add(pdfSaying(text.toLatin1())); }
    QString missing() override { return folder_.path(QStringLiteral("absent")); }

private:
    QString add(const QByteArray& bytes) { return folder_.add(QString::number(++count_), bytes); }

    WorkerFolder folder_;
    DocumentReaderWorker reader_{DocumentWorkerOptions::interactive(workerProgram())};
    int count_ = 0;
};

using Worlds = ::testing::Types<FakeWorld, BoxedWorld>;

} // namespace

namespace vennic::test {
INSTANTIATE_TYPED_TEST_SUITE_P(FakeAndBoxed, DocumentReaderContract, Worlds);
}
