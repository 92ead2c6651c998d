#pragma once
#include "linux/photos/PhotoFactsReader.h"
#include "linux/worker/WorkerLane.h"

#include <memory>
#include <mutex>

namespace vennic::photos {

/// Facts by way of boxed processes: one of its own at idle priority, and the client's for who waits. On a busy machine
/// an idle process hardly runs, and its reading is given up for somebody who waits.
class PhotoFactsWorker final : public PhotoFactsReader {
public:
    /// `executable` is the absolute path of vennic-picture-worker, `awaited` the lane for who waits.
    PhotoFactsWorker(QString executable, std::shared_ptr<WorkerLane> awaited);

    Result read(int file, Haste haste) override;
    void hurry() override;
    /// Ends the process: what fails from then on says nothing of the file.
    void close();

private:
    /// The lane at idle priority, which is made when it is needed.
    std::shared_ptr<WorkerLane> idleLane();

    const QString executable_;
    const std::shared_ptr<WorkerLane> awaited_;
    std::mutex mutex_;
    std::shared_ptr<WorkerLane> idle_;
    bool isReading_ = false; // on the idle lane
    bool isEnding_ = false;
};

} // namespace vennic::photos
