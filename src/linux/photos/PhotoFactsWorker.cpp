#include "linux/photos/PhotoFactsWorker.h"

#include "linux/worker/AnswerRecord.h"
#include "ports/DocumentReadError.h"

namespace vennic::photos {

PhotoFactsWorker::PhotoFactsWorker(QString executable, std::shared_ptr<WorkerLane> awaited)
    : executable_(std::move(executable)), awaited_(std::move(awaited)) {}

std::shared_ptr<WorkerLane> PhotoFactsWorker::idleLane() {
    const std::lock_guard lock(mutex_);
    if (!idle_ && !isEnding_)
        idle_ = std::make_shared<WorkerLane>(DocumentWorkerOptions::backgroundPictures(executable_));
    isReading_ = true;
    return idle_;
}

PhotoFactsReader::Result PhotoFactsWorker::read(int file, Haste haste) {
    const std::shared_ptr<WorkerLane> lane = haste == Haste::awaited ? awaited_ : idleLane();
    if (!lane)
        return {Outcome::ended, {}};
    Result result{Outcome::failed, {}};
    try {
        const OpenedDocument document(file, {}, wire::ceilingsOf(wire::Form::photoFacts).fileBytes);
        if (const auto facts = recordOf<PhotoFacts>(lane->ask(wire::Form::photoFacts, {}, document).body))
            result = {Outcome::read, *facts};
    } catch (const DocumentReadError& error) {
        if (error.fault() != DocumentFault::worker)
            result.outcome = Outcome::refused;
    }
    const std::lock_guard lock(mutex_);
    if (lane != awaited_)
        isReading_ = false;
    if (result.outcome == Outcome::failed && isEnding_)
        result.outcome = Outcome::ended;
    else if (result.outcome == Outcome::failed && lane != awaited_ && lane != idle_)
        result.outcome = Outcome::interrupted;
    return result;
}

void PhotoFactsWorker::hurry() {
    std::shared_ptr<WorkerLane> given;
    {
        const std::lock_guard lock(mutex_);
        if (isReading_)
            given = std::move(idle_);
    }
    if (given)
        given->close();
}

void PhotoFactsWorker::close() {
    std::shared_ptr<WorkerLane> idle;
    {
        const std::lock_guard lock(mutex_);
        isEnding_ = true; // before a read fails of it
        idle = idle_;
    }
    if (idle)
        idle->close();
}

} // namespace vennic::photos
