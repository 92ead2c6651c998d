// Draws thumbnails by the boxed process, which has drawn one before. Each figure is one line: name, value, unit.
//
//   thumbnail_bench WORKER EDGE FILE…
#include "linux/worker/BoxedThumbnail.h"
#include "linux/worker/WorkerLane.h"
#include "ports/DocumentReadError.h"

#include <QCoreApplication>

#include <chrono>
#include <cstdio>

int main(int argc, char** argv) {
    using namespace vennic;
    const QCoreApplication application(argc, argv);
    const QStringList arguments = QCoreApplication::arguments();
    if (arguments.size() < 4) {
        std::fprintf(stderr, "usage: thumbnail_bench WORKER EDGE FILE…\n");
        return 2;
    }
    const int edge = arguments.at(2).toInt();
    try {
        WorkerLane pictures(DocumentWorkerOptions::pictures(arguments.at(1)));
        const auto draw = [&](const QString& path) {
            const OpenedDocument document(path, wire::ceilingsOf(wire::Form::thumbnail).fileBytes);
            return boxedThumbnail(pictures, document, edge).png.size();
        };
        draw(arguments.at(3));
        qsizetype bytes = 0;
        const auto start = std::chrono::steady_clock::now();
        for (qsizetype i = 3; i < arguments.size(); ++i)
            bytes += draw(arguments.at(i));
        const std::chrono::duration<double> taken = std::chrono::steady_clock::now() - start;
        std::printf("drawn\t%.4f\ts\npng\t%lld\tbytes\n", taken.count(), static_cast<long long>(bytes));
    } catch (const LocalizedError& error) {
        std::fprintf(stderr, "thumbnail_bench: %s\n", error.what());
        return 1;
    }
    return 0;
}
