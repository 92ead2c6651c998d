#pragma once
#include <array>
#include <span>
#include <string>
#include <vector>

namespace vennic {

/// A language that texts are recognised in.
struct RecognitionLanguage {
    const char* tag;     // BCP 47, as it is reported
    const char* data;    // Tesseract's name of it: <data>.traineddata
    const char* package; // Debian's, which brings the data
    const char* name;    // French, UTF-8
    bool operator==(const RecognitionLanguage&) const = default;
};

/// In the order of preference.
inline constexpr std::array<RecognitionLanguage, 2> recognitionLanguages{{
    {"fr-FR", "fra", "tesseract-ocr-fra", "français"},
    {"en-US", "eng", "tesseract-ocr-eng", "anglais"},
}};

/// Where distributions keep the data: Debian and its kin, then the others. The first that has any is used.
inline constexpr std::array<const char*, 2> recognitionDataFolders{"/usr/share/tesseract-ocr/5/tessdata",
                                                                   "/usr/share/tessdata"};

/// What texts can be recognised with.
struct RecognitionData {
    std::string folder;
    std::vector<RecognitionLanguage> languages; // whose data can be read there, the preferred one first
};

/// Of the first of `folders` that has the data of any language; empty where none has.
RecognitionData installedRecognition(std::span<const char* const> folders);

} // namespace vennic
