#pragma once
#include "Bridge/ShownDocuments.h"
#include "Bridge/TaskAnswer.h"
#include "ports/Workspace.h"

namespace vennic {

/// Answers `open_document`: shows a file or folder to the person at the machine. Main thread only.
class OpenDocumentHandler {
public:
    OpenDocumentHandler(ShownDocuments documents, std::shared_ptr<Workspace> workspace, const TaskAnswer& answer)
        : documents_(std::move(documents)), workspace_(std::move(workspace)), answer_(answer) {}

    /// Sends its own answer. Never fails but with Cancelled.
    Task<> handleOpenDocument(BridgeTask task, OpenDocumentArgs args, APIService api);

private:
    ShownDocuments documents_;
    std::shared_ptr<Workspace> workspace_;
    const TaskAnswer& answer_;
};

} // namespace vennic
