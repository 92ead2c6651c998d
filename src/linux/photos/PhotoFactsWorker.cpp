#include "linux/photos/PhotoFactsWorker.h"

#include "linux/worker/AnswerRecord.h"
#include "ports/DocumentReadError.h"

namespace vennic::photos {

PhotoFactsWorker::PhotoFactsWorker(const QString& executable)
    : lane_(DocumentWorkerOptions::backgroundPictures(executable)) {}

PhotoFactsReader::Result PhotoFactsWorker::read(int file) {
    try {
        const OpenedDocument document(file, {}, wire::ceilingsOf(wire::Form::photoFacts).fileBytes);
        const auto facts = recordOf<PhotoFacts>(lane_.ask(wire::Form::photoFacts, {}, document).body);
        return facts ? Result{Outcome::read, *facts} : Result{Outcome::failed, {}};
    } catch (const DocumentReadError& error) {
        if (ending_)
            return {Outcome::ended, {}};
        return {error.fault() == DocumentFault::worker ? Outcome::failed : Outcome::refused, {}};
    }
}

void PhotoFactsWorker::close() {
    ending_ = true; // before a read fails of it
    lane_.close();
}

} // namespace vennic::photos
