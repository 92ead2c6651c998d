// Reads PDF documents whole by the boxed process, which has read one before. Each figure is one line: name, value,
// unit.
//
//   pdf_bench WORKER FILE…
#include "linux/worker/DocumentReaderWorker.h"

#include <QCoreApplication>

#include <chrono>
#include <cstdio>
#include <limits>

int main(int argc, char** argv) {
    const QCoreApplication application(argc, argv);
    const QStringList arguments = QCoreApplication::arguments();
    if (arguments.size() < 3) {
        std::fprintf(stderr, "usage: pdf_bench WORKER FILE…\n");
        return 2;
    }
    try {
        vennic::DocumentReaderWorker reader(vennic::DocumentWorkerOptions::interactive(arguments.at(1)));
        constexpr qint64 everything = std::numeric_limits<qint64>::max();
        reader.pdf(arguments.at(2), everything);
        qsizetype characters = 0;
        const auto start = std::chrono::steady_clock::now();
        for (qsizetype i = 2; i < arguments.size(); ++i)
            characters += reader.pdf(arguments.at(i), everything).text.size();
        const std::chrono::duration<double> taken = std::chrono::steady_clock::now() - start;
        std::printf("read\t%.4f\ts\ntext\t%lld\tUTF-16 units\n", taken.count(), static_cast<long long>(characters));
        reader.close();
    } catch (const vennic::LocalizedError& error) {
        std::fprintf(stderr, "pdf_bench: %s\n", error.what());
        return 1;
    }
    return 0;
}
