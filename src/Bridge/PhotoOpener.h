#pragma once
#include "base/Identifier.h"
#include "ports/ModalDialogs.h"
#include "ports/PhotoLibrary.h"
#include "ports/Workspace.h"

#include <QDir>

#include <memory>

namespace vennic {

/// Shows one photo of the library, by way of a temporary file that is left to the system. Main thread only.
class PhotoOpener {
public:
    /// What is named by reference outlives the opener, and the opener its openings.
    PhotoOpener(std::shared_ptr<PhotoLibrary> library, std::shared_ptr<Workspace> workspace, ModalDialogs& dialogs,
                IdentifierSource identifiers = newIdentifier, QString temporaryDirectory = QDir::tempPath())
        : library_(std::move(library)), workspace_(std::move(workspace)), dialogs_(dialogs),
          identifiers_(std::move(identifiers)), temporaryDirectory_(std::move(temporaryDirectory)) {}

    /// Opens the photo that a `vennic://local_photo/view/` link names. Shows its failures itself; never fails but with
    /// Cancelled.
    Task<> open(QString percentEncodedIdentifier) const;

private:
    /// The sentence that says why the photo couldn't be shown; none when it could.
    Task<std::optional<QString>> show(QString identifier) const;
    Task<std::optional<QString>> showImage(PhotoImage image) const;
    static QString extensionFor(const QString& typeIdentifier);

    std::shared_ptr<PhotoLibrary> library_;
    std::shared_ptr<Workspace> workspace_;
    ModalDialogs& dialogs_;
    IdentifierSource identifiers_;
    QString temporaryDirectory_;
};

} // namespace vennic
