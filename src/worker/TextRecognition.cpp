#include "worker/TextRecognition.h"

#include "base/RecognitionLanguage.h"

#include <fcntl.h>
#include <leptonica/allheaders.h>
#include <tesseract/baseapi.h>
#include <tesseract/resultiterator.h>
#include <unistd.h>

// OpenMP's own declaration stands in a header of the compiler that Tesseract was built with.
extern "C" void omp_set_max_active_levels(int levels);

namespace vennic::worker {
namespace {

// Asking for the file is the only way to know: Tesseract takes a missing language for one that finds nothing.
bool canRead(const std::string& path) {
    const int file = open(path.c_str(), O_RDONLY | O_CLOEXEC);
    if (file >= 0)
        close(file);
    return file >= 0;
}

/// "fra+eng", without those that the folder doesn't have.
std::string languagesIn(const std::string& folder) {
    std::string languages;
    for (const RecognitionLanguage& language : recognitionLanguages) {
        if (canRead(folder + '/' + language.data + ".traineddata"))
            languages += (languages.empty() ? "" : "+") + std::string(language.data);
    }
    return languages;
}

/// Null when there is no language.
std::unique_ptr<tesseract::TessBaseAPI> makeRecognizer() {
    // Its parallel loops are so short that starting them takes longer than they do.
    omp_set_max_active_levels(0);
    for (const char* const folder : recognitionDataFolders) {
        const std::string languages = languagesIn(folder);
        if (languages.empty())
            continue;
        auto recognizer = std::make_unique<tesseract::TessBaseAPI>();
        if (recognizer->Init(folder, languages.c_str(), tesseract::OEM_LSTM_ONLY) != 0)
            return nullptr;
        recognizer->SetPageSegMode(tesseract::PSM_AUTO);
        return recognizer;
    }
    return nullptr;
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

ReadResult recognizedText(Picture picture) {
    static const auto recognizer = makeRecognizer();
    if (!recognizer)
        return ReadResult::unavailable();
    recognizer->SetImage(picture.get());
    picture.reset(); // the recogniser has its own copy
    if (recognizer->Recognize(nullptr) != 0) {
        recognizer->Clear();
        return ReadResult::beyondBox();
    }
    std::string text = linesOf(*recognizer);
    recognizer->Clear();
    return {wire::Outcome::done, std::move(text), false};
}

} // namespace vennic::worker
