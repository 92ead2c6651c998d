#pragma once
#include "Bridge/BridgeTypes.h"
#include "Bridge/FileURL.h"
#include "ports/FileSystem.h"
#include "ports/TextRecognizer.h"

#include <memory>
#include <stop_token>

namespace vennic {

/// The text of an image or of a PDF: of a PDF's page the text layer where it has one, else what is recognised on its
/// picture. Any thread may use it.
class OcrEngine {
public:
    OcrEngine(std::shared_ptr<TextRecognizer> recognizer, std::shared_ptr<FileSystem> files)
        : recognizer_(std::move(recognizer)), files_(std::move(files)) {}

    /// Blocks, for as long as the document has pages. Raises OcrError; Cancelled soon after `stop` asks.
    BridgeOcrResult recognize(const FileURL& url, const std::stop_token& stop = {}) const;

private:
    BridgeOcrResult recognizeImage(const FileURL& url, qint64 bytesProcessed, const std::stop_token& stop) const;
    BridgeOcrResult recognizePDF(const FileURL& url, qint64 bytesProcessed, const std::stop_token& stop) const;

    std::shared_ptr<TextRecognizer> recognizer_;
    std::shared_ptr<FileSystem> files_;
};

} // namespace vennic
