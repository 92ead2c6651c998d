#include "linux/worker/TextRecognizerWorker.h"

#include "base/RecognitionLanguage.h"
#include "linux/worker/AnswerRecord.h"
#include "linux/worker/WorkerLane.h"

namespace vennic {
namespace {

RecognizedText recognized(const WorkerProcess::Reply& reply) {
    // The answer has been checked: it begins with the languages.
    const std::uint32_t languages = leadingRecordOf<wire::RecognizedIn>(reply.body).value().languages;
    RecognizedText result{QString::fromUtf8(reply.body.sliced(sizeof(wire::RecognizedIn))), {}};
    for (std::size_t i = 0; i < recognitionLanguages.size(); ++i) {
        if ((languages >> i & 1) != 0)
            result.languages.append(QString::fromLatin1(recognitionLanguages[i].tag));
    }
    return result;
}

OpenedDocument opened(wire::Form form, const QString& path) {
    return OpenedDocument(path, wire::ceilingsOf(form).fileBytes);
}

class PdfPagesWorker final : public PdfPages {
public:
    PdfPagesWorker(std::shared_ptr<WorkerLane> pictures, const QString& path, std::stop_token stop)
        : pictures_(std::move(pictures)), stop_(std::move(stop)), document_(opened(wire::Form::pdfPages, path)),
          count_(recordOf<wire::PageCount>(ask(wire::Form::pdfPages, 0).body).value().pages) {}

    qint64 count() const override { return count_; }
    QString text(qint64 page) override { return QString::fromUtf8(ask(wire::Form::pdfPageText, page).body); }
    RecognizedText recognize(qint64 page) override { return recognized(ask(wire::Form::pdfPageScan, page)); }

private:
    WorkerProcess::Reply ask(wire::Form form, qint64 page) const {
        return pictures_->ask(form, {.page = static_cast<std::uint32_t>(page)}, document_, stop_);
    }

    std::shared_ptr<WorkerLane> pictures_;
    std::stop_token stop_;
    OpenedDocument document_;
    qint64 count_;
};

} // namespace

RecognizedText TextRecognizerWorker::image(const QString& path, std::stop_token stop) {
    return recognized(pictures_->ask(wire::Form::imageText, {}, opened(wire::Form::imageText, path), std::move(stop)));
}

std::unique_ptr<PdfPages> TextRecognizerWorker::openPdf(const QString& path, std::stop_token stop) {
    return std::make_unique<PdfPagesWorker>(pictures_, path, std::move(stop));
}

} // namespace vennic
