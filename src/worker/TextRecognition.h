#pragma once
#include "worker/Picture.h"
#include "worker/Reader.h"

#include <memory>
#include <span>
#include <string>

namespace tesseract {
class TessBaseAPI;
}

namespace vennic::worker {

/// Recognises text, in the languages whose data is installed.
class TextRecognition {
public:
    /// Looks for the data in these folders; the first that has any is used.
    explicit TextRecognition(std::span<const char* const> folders);
    ~TextRecognition();
    TextRecognition(const TextRecognition&) = delete;
    TextRecognition& operator=(const TextRecognition&) = delete;

    /// A body of wire::RecognizedIn and the lines of text in a picture, in reading order, joined by newlines; no lines
    /// where there are none. `unavailable` when there is no language, `beyondBox` when the picture is larger than the
    /// recogniser takes.
    ReadResult read(Picture picture);

private:
    std::unique_ptr<tesseract::TessBaseAPI> recognizer_; // null without a language
    wire::RecognizedIn languages_;
};

/// The same with what is installed on this machine; loaded by the first picture.
ReadResult recognizedText(Picture picture);

} // namespace vennic::worker
