#pragma once
#include "ports/TextRecognizer.h"

namespace vennic {

class WorkerLane;

/// Recognises text in the boxed process for pictures, one page or image a request, so that a page which it can't do is
/// one failed request. A PDF shares the lane and keeps it.
class TextRecognizerWorker final : public TextRecognizer {
public:
    explicit TextRecognizerWorker(std::shared_ptr<WorkerLane> pictures) : pictures_(std::move(pictures)) {}

    RecognizedText image(const QString& path, std::stop_token stop) override;
    std::unique_ptr<PdfPages> openPdf(const QString& path, std::stop_token stop) override;

private:
    std::shared_ptr<WorkerLane> pictures_;
};

} // namespace vennic
