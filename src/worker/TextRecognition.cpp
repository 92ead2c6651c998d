#include "worker/TextRecognition.h"

#include "base/RecognitionLanguage.h"

#include <algorithm>
#include <leptonica/allheaders.h>
#include <tesseract/baseapi.h>
#include <tesseract/resultiterator.h>

// OpenMP's own declaration stands in a header of the compiler that Tesseract was built with.
extern "C" void omp_set_max_active_levels(int levels);

namespace vennic::worker {
namespace {

/// As Tesseract takes them: "fra+eng".
std::string joined(const std::vector<RecognitionLanguage>& languages) {
    std::string names;
    for (const RecognitionLanguage& language : languages)
        names += (names.empty() ? "" : "+") + std::string(language.data);
    return names;
}

/// Of the languages that were asked for, Tesseract passes over those whose data it can't use.
wire::RecognizedIn loadedLanguages(const tesseract::TessBaseAPI& recognizer) {
    std::vector<std::string> loaded;
    recognizer.GetLoadedLanguagesAsVector(&loaded);
    wire::RecognizedIn languages;
    for (std::size_t i = 0; i < recognitionLanguages.size(); ++i) {
        if (std::ranges::find(loaded, recognitionLanguages[i].data) != loaded.end())
            languages.languages |= 1U << i;
    }
    return languages;
}

std::string withoutEnd(std::string line) {
    line.erase(line.find_last_not_of(" \t\r\n\f\v") + 1);
    return line;
}

std::string linesOf(tesseract::TessBaseAPI& recognizer) {
    std::string text;
    const std::unique_ptr<tesseract::ResultIterator> lines(recognizer.GetIterator());
    if (!lines)
        return text;
    do {
        const std::unique_ptr<char[]> found(lines->GetUTF8Text(tesseract::RIL_TEXTLINE));
        const std::string line = found ? withoutEnd(found.get()) : std::string();
        if (!line.empty())
            text += (text.empty() ? "" : "\n") + line;
    } while (lines->Next(tesseract::RIL_TEXTLINE));
    return text;
}

} // namespace

TextRecognition::TextRecognition(std::span<const char* const> folders) {
    const RecognitionData data = installedRecognition(folders);
    if (data.languages.empty())
        return;
    // Its parallel loops are so short that starting them takes longer than they do.
    omp_set_max_active_levels(0);
    recognizer_ = std::make_unique<tesseract::TessBaseAPI>();
    if (recognizer_->Init(data.folder.c_str(), joined(data.languages).c_str(), tesseract::OEM_LSTM_ONLY) != 0) {
        recognizer_.reset();
        return;
    }
    recognizer_->SetPageSegMode(tesseract::PSM_AUTO);
    languages_ = loadedLanguages(*recognizer_);
}

TextRecognition::~TextRecognition() = default;

ReadResult TextRecognition::read(Picture picture) {
    if (!recognizer_)
        return ReadResult::unavailable();
    recognizer_->SetImage(picture.get());
    picture.reset(); // the recogniser has its own copy
    if (recognizer_->Recognize(nullptr) != 0) {
        recognizer_->Clear();
        return ReadResult::beyondBox();
    }
    ReadResult result = ReadResult::record(languages_);
    result.body += linesOf(*recognizer_);
    recognizer_->Clear();
    return result;
}

ReadResult recognizedText(Picture picture) {
    static TextRecognition recognition(recognitionDataFolders);
    return recognition.read(std::move(picture));
}

} // namespace vennic::worker
