#include "linux/worker/DocumentReaderWorker.h"

#include "linux/worker/WorkerLane.h"

#include <algorithm>

namespace vennic {
namespace {

wire::Form wireForm(DocumentForm form) {
    switch (form) {
    case DocumentForm::plainText:
        return wire::Form::plainText;
    case DocumentForm::rtf:
        return wire::Form::rtf;
    case DocumentForm::pdf:
        return wire::Form::pdf;
    }
    Q_UNREACHABLE();
}

DocumentText read(WorkerLane& lane, DocumentForm form, const OpenedDocument& document, qint64 maxChars) {
    const QString& path = document.path();
    const auto most = static_cast<std::uint64_t>(std::max<qint64>(maxChars, 0));
    const WorkerProcess::Reply reply = lane.ask(wireForm(form), most, document);
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
    return read(*lane_, DocumentForm::plainText, OpenedDocument(path), maxChars);
}

DocumentText DocumentReaderWorker::rtf(const QString& path, qint64 maxChars) {
    return read(*lane_, DocumentForm::rtf, OpenedDocument(path), maxChars);
}

DocumentText DocumentReaderWorker::pdf(const QString& path, qint64 maxChars) {
    return read(*lane_, DocumentForm::pdf, OpenedDocument(path), maxChars);
}

DocumentText DocumentReaderWorker::readOpen(DocumentForm form, int descriptor, const QString& name, qint64 maxChars) {
    return read(*lane_, form, OpenedDocument(descriptor, name), maxChars);
}

void DocumentReaderWorker::close() {
    ending_ = true; // before a read fails of it
    lane_->close();
}

} // namespace vennic
