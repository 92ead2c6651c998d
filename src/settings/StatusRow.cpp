#include "settings/StatusRow.h"

#include "base/Localized.h"

namespace vennic {

using State = BridgeService::Status::State;

QString StatusRow::label() const {
    switch (status.state) {
    case State::off:
        return localized("Non connecté");
    case State::idle:
        return localized("Connecté");
    case State::polling:
        return localized("Connecté, en attente");
    case State::busy:
        return localized("Exécution : ") + (status.kind ? kindLabel(*status.kind) : QString());
    case State::error:
        return localized("Erreur");
    }
    Q_UNREACHABLE();
}

StatusRow::Color StatusRow::color() const {
    switch (status.state) {
    case State::off:
        return Color::gray;
    case State::idle:
    case State::polling:
        return Color::green;
    case State::busy:
        return Color::orange;
    case State::error:
        return Color::red;
    }
    Q_UNREACHABLE();
}

QString StatusRow::kindLabel(BridgeTaskKind kind) {
    switch (kind) {
    case BridgeTaskKind::search:
        return localized("recherche");
    case BridgeTaskKind::read:
        return localized("lecture");
    case BridgeTaskKind::listFolders:
        return localized("liste des dossiers");
    case BridgeTaskKind::listDir:
        return localized("exploration d'un dossier");
    case BridgeTaskKind::photosRecent:
        return localized("photos récentes");
    case BridgeTaskKind::photosByDate:
        return localized("photos par date");
    case BridgeTaskKind::appOpen:
        return localized("ouvrir une app");
    case BridgeTaskKind::shortcutRun:
        return localized("lancer un Shortcut");
    case BridgeTaskKind::shortcutList:
        return localized("lister les Shortcuts");
    case BridgeTaskKind::ocrImage:
        return localized("OCR d'une image");
    case BridgeTaskKind::openDocument:
        return localized("ouvrir un document");
    case BridgeTaskKind::thumbnail:
        return localized("miniature");
    case BridgeTaskKind::llmInfer:
        return localized("inférence LLM locale");
    }
    Q_UNREACHABLE();
}

} // namespace vennic
