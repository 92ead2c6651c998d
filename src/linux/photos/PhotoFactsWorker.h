#pragma once
#include "linux/photos/PhotoFactsReader.h"
#include "linux/worker/WorkerLane.h"

#include <atomic>

namespace vennic::photos {

/// Facts by way of a boxed process of its own, at idle priority.
class PhotoFactsWorker final : public PhotoFactsReader {
public:
    /// Absolute path of vennic-picture-worker.
    explicit PhotoFactsWorker(const QString& executable);

    Result read(int file) override;
    /// Ends the process: what fails from then on says nothing of the file.
    void close();

private:
    WorkerLane lane_;
    std::atomic<bool> ending_ = false;
};

} // namespace vennic::photos
