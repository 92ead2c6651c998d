#pragma once
#include "linux/worker/DocumentWorkerOptions.h"
#include "linux/worker/OpenDocumentReader.h"
#include "ports/DocumentReader.h"

#include <atomic>
#include <memory>

namespace vennic {

class WorkerLane;

/// Reads documents in a boxed process that is started on demand, reused, replaced when it dies or takes too long, and
/// ended when idle. One instance has one process and reads one document at a time; foreground and index use two.
///
/// The process gets open descriptors, never paths, and what it answers is checked as if an enemy had written it.
class DocumentReaderWorker final : public DocumentReader, public OpenDocumentReader {
public:
    explicit DocumentReaderWorker(DocumentWorkerOptions options);
    ~DocumentReaderWorker() override; // nobody may be reading any more: close() first
    Q_DISABLE_COPY_MOVE(DocumentReaderWorker)

    DocumentText plainText(const QString& path, qint64 maxChars) override;
    DocumentText rtf(const QString& path, qint64 maxChars) override;
    DocumentText pdf(const QString& path, qint64 maxChars) override;
    DocumentText readOpen(DocumentForm form, int descriptor, const QString& name, qint64 maxChars) override;

    bool isEnding() const override { return ending_; }

    /// Ends the process at once: whoever reads gets a failure now, and so does whoever asks later.
    void close();

private:
    std::unique_ptr<WorkerLane> lane_;
    std::atomic<bool> ending_ = false;
};

} // namespace vennic
