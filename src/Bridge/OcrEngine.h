#pragma once
#include "Bridge/BridgeTypes.h"
#include "Bridge/FileURL.h"
#include "ports/FileSystem.h"
#include "ports/TextRecognizer.h"

#include <chrono>
#include <functional>
#include <memory>
#include <stop_token>

namespace vennic {

/// The text of an image or of a PDF: of a PDF's page the text layer where it has one, else what is recognised on its
/// picture. Any thread may use it.
class OcrEngine {
public:
    using Now = std::function<std::chrono::steady_clock::time_point()>;

    /// A document may have any number of pages, and a small hostile one claim millions: the pages that haven't been
    /// begun after so long count as pages that can't be read.
    static constexpr std::chrono::minutes mostTime{30};

    OcrEngine(std::shared_ptr<TextRecognizer> recognizer, std::shared_ptr<FileSystem> files,
              Now now = std::chrono::steady_clock::now)
        : recognizer_(std::move(recognizer)), files_(std::move(files)), now_(std::move(now)) {}

    /// Blocks, for as long as the document has pages, but not much longer than `mostTime`. Raises OcrError; Cancelled
    /// soon after `stop` asks.
    BridgeOcrResult recognize(const FileURL& url, const std::stop_token& stop = {}) const;

private:
    BridgeOcrResult recognizeImage(const FileURL& url, qint64 bytesProcessed, const std::stop_token& stop) const;
    BridgeOcrResult recognizePDF(const FileURL& url, qint64 bytesProcessed, const std::stop_token& stop) const;

    std::shared_ptr<TextRecognizer> recognizer_;
    std::shared_ptr<FileSystem> files_;
    Now now_; // of any thread
};

} // namespace vennic
