#pragma once
#include "Bridge/BridgeIDCache.h"
#include "ports/ModalDialogs.h"
#include "ports/PhotoLibrary.h"
#include "ports/Workspace.h"

#include <memory>

namespace vennic {

/// Opens what links lead to: documents that were found, photos, and what other programs open. Main thread only.
class LinkOpener {
public:
    /// What is named by reference outlives the opener.
    struct Surroundings {
        const BridgeIDCache& idCache;
        std::shared_ptr<PhotoLibrary> photos;
        std::shared_ptr<Workspace> workspace;
        ModalDialogs& dialogs;
    };

    explicit LinkOpener(Surroundings surroundings) : with_(std::move(surroundings)) {}

    /// What a click does: opens a document or a photo, and leaves any address but the program's own to the system. A
    /// document that is no longer known, and a link of the program's own that says nothing, do nothing. Shows its
    /// failures itself; never fails but with Cancelled.
    Task<> follow(QString address);
    /// For who names a document or a photo and waits for it. None when it is open, else the sentence that says why it
    /// isn't. Raises LocalizedError.
    Task<std::optional<QString>> open(QString address);

private:
    Task<> openTarget(QString address);
    Task<std::optional<QString>> openPhoto(QString percentEncodedIdentifier);

    Surroundings with_;
    Scope warnings_;
};

} // namespace vennic
