// Recognises the text of image files by the boxed process, which has done one before. Each figure is one line: name,
// value, unit.
//
//   ocr_bench WORKER FILE…
#include "linux/worker/TextRecognizerWorker.h"
#include "linux/worker/WorkerLane.h"

#include <QCoreApplication>

#include <chrono>
#include <cstdio>

int main(int argc, char** argv) {
    const QCoreApplication application(argc, argv);
    const QStringList arguments = QCoreApplication::arguments();
    if (arguments.size() < 3) {
        std::fprintf(stderr, "usage: ocr_bench WORKER FILE…\n");
        return 2;
    }
    try {
        vennic::TextRecognizerWorker recognizer(
            std::make_shared<vennic::WorkerLane>(vennic::DocumentWorkerOptions::pictures(arguments.at(1))));
        recognizer.image(arguments.at(2), {});
        qsizetype characters = 0;
        const auto start = std::chrono::steady_clock::now();
        for (qsizetype i = 2; i < arguments.size(); ++i)
            characters += recognizer.image(arguments.at(i), {}).text.size();
        const std::chrono::duration<double> taken = std::chrono::steady_clock::now() - start;
        std::printf("recognised\t%.4f\ts\ntext\t%lld\tUTF-16 units\n", taken.count(),
                    static_cast<long long>(characters));
    } catch (const vennic::LocalizedError& error) {
        std::fprintf(stderr, "ocr_bench: %s\n", error.what());
        return 1;
    }
    return 0;
}
