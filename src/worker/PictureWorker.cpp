#include "worker/BoxedProgram.h"
#include "worker/PictureReaders.h"

#include <array>

namespace {

// What the libraries look up late: fonts that a document names and doesn't bring, and the recogniser's languages.
constexpr std::array<const char*, 7> libraryData{"/etc/fonts",
                                                 "/usr/share/fontconfig",
                                                 "/usr/share/fonts",
                                                 "/usr/local/share/fonts",
                                                 "/var/cache/fontconfig",
                                                 "/usr/share/tesseract-ocr",
                                                 "/usr/share/tessdata"};

} // namespace

int main(int count, char** arguments) {
    using namespace vennic;
    const worker::BoxedProgram program{
        .name = "vennic-picture-worker",
        .warmUp = worker::warmUpPictureReaders,
        .rules = {.mappedBytes = 2 * wire::mostMappedBytes, // the document, and the one before it
                  .cpuSeconds = wire::pictureLife.mostCpuSeconds,
                  .threads = true,
                  .readableFolders = libraryData},
        .mapsFiles = true,
        .readers = worker::pictureReaders(),
    };
    return worker::runBoxed(program, count, arguments);
}
