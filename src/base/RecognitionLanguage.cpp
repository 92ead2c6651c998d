#include "base/RecognitionLanguage.h"

#include <filesystem>
#include <fstream>

namespace vennic {

namespace {

// Opening the file is the only way to know: the folder may be there and its files forbidden.
bool canRead(const std::string& path) {
    std::error_code ignored;
    return std::filesystem::is_regular_file(path, ignored) && std::ifstream(path).is_open();
}

} // namespace

RecognitionData installedRecognition(std::span<const char* const> folders) {
    for (const char* const folder : folders) {
        RecognitionData data{folder, {}};
        for (const RecognitionLanguage& language : recognitionLanguages) {
            if (canRead(data.folder + '/' + language.data + ".traineddata"))
                data.languages.push_back(language);
        }
        if (!data.languages.empty())
            return data;
    }
    return {};
}

} // namespace vennic
