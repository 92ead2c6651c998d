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

constexpr qint64 mostBytes = wire::ceilingsOf(wire::Form::plainText).fileBytes; // the same of all three

DocumentText read(WorkerLane& lane, DocumentForm form, const OpenedDocument& document, qint64 maxChars) {
    const auto most = static_cast<std::uint64_t>(std::max<qint64>(maxChars, 0));
    const WorkerProcess::Reply reply = lane.ask(wireForm(form), {.mostCharacters = most}, document);
    return {QString::fromUtf8(reply.body), reply.answer.truncated != 0, reply.answer.fileBytes};
}

} // namespace

DocumentReaderWorker::DocumentReaderWorker(DocumentWorkerOptions options)
    : lane_(std::make_unique<WorkerLane>(std::move(options))) {}

DocumentReaderWorker::~DocumentReaderWorker() = default;

DocumentText DocumentReaderWorker::plainText(const QString& path, qint64 maxChars) {
    return read(*lane_, DocumentForm::plainText, OpenedDocument(path, mostBytes), maxChars);
}

DocumentText DocumentReaderWorker::rtf(const QString& path, qint64 maxChars) {
    return read(*lane_, DocumentForm::rtf, OpenedDocument(path, mostBytes), maxChars);
}

DocumentText DocumentReaderWorker::pdf(const QString& path, qint64 maxChars) {
    return read(*lane_, DocumentForm::pdf, OpenedDocument(path, mostBytes), maxChars);
}

DocumentText DocumentReaderWorker::readOpen(DocumentForm form, int descriptor, const QString& name, qint64 maxChars) {
    return read(*lane_, form, OpenedDocument(descriptor, name, mostBytes), maxChars);
}

void DocumentReaderWorker::close() {
    ending_ = true; // before a read fails of it
    lane_->close();
}

} // namespace vennic
