#include "linux/worker/DocumentReaderWorker.h"

#include "linux/worker/WorkerLane.h"

#include <algorithm>

namespace vennic {
namespace {

DocumentText read(WorkerLane& lane, wire::Form form, const QString& path, qint64 maxChars) {
    const OpenedDocument document(path);
    const auto most = static_cast<std::uint64_t>(std::max<qint64>(maxChars, 0));
    const WorkerProcess::Reply reply = lane.ask(form, most, document);
    switch (reply.answer.outcome) {
    case wire::Outcome::text:
        return {QString::fromUtf8(reply.text), reply.answer.truncated != 0, reply.answer.fileBytes};
    case wire::Outcome::unreadable:
        throw DocumentReadError(DocumentFault::unreadable, unreadableSentence(path, reply.answer.systemError));
    case wire::Outcome::tooLarge:
        throw DocumentReadError(DocumentFault::unreadable, tooLargeSentence(path));
    case wire::Outcome::unparsable:
        break;
    }
    throw DocumentReadError(DocumentFault::unparsable, QStringLiteral("Le document n'a pas la forme attendue."));
}

} // namespace

DocumentReaderWorker::DocumentReaderWorker(DocumentWorkerOptions options)
    : lane_(std::make_unique<WorkerLane>(std::move(options))) {}

DocumentReaderWorker::~DocumentReaderWorker() = default;

DocumentText DocumentReaderWorker::plainText(const QString& path, qint64 maxChars) {
    return read(*lane_, wire::Form::plainText, path, maxChars);
}

DocumentText DocumentReaderWorker::rtf(const QString& path, qint64 maxChars) {
    return read(*lane_, wire::Form::rtf, path, maxChars);
}

DocumentText DocumentReaderWorker::pdf(const QString& path, qint64 maxChars) {
    return read(*lane_, wire::Form::pdf, path, maxChars);
}

void DocumentReaderWorker::close() { lane_->close(); }

} // namespace vennic
