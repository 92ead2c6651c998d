#include "settings/BridgeSettingsView.h"

#include "base/Localized.h"
#include "settings/RelativeDate.h"

#include <algorithm>

namespace vennic {

BridgeSettingsView::BridgeSettingsView(Surroundings surroundings) : with_(std::move(surroundings)) {
    connect(&with_.session, &AppSession::userTokenChanged, this, &BridgeSettingsView::isAuthenticatedChanged);
    connect(&with_.session, &AppSession::bridgeEnabledChanged, this, &BridgeSettingsView::bridgeEnabledChanged);
    connect(&with_.bridge, &BridgeService::statusChanged, this, &BridgeSettingsView::statusChanged);
    connect(&with_.bridge, &BridgeService::tasksServedChanged, this, [this] {
        Q_EMIT tasksServedChanged();
        Q_EMIT lastActivityChanged();
    });
    connect(&with_.bridge, &BridgeService::lastErrorMessageChanged, this, &BridgeSettingsView::lastErrorMessageChanged);
    connect(&with_.bridge, &BridgeService::lastTaskAtChanged, this, [this] {
        Q_EMIT lastActivityChanged();
        followDate();
    });
    connect(&with_.bookmarks, &BookmarkStore::entriesChanged, this, [this] {
        Q_EMIT foldersChanged();
        lookForFolders();
    });
}

void BridgeSettingsView::appear() {
    shown_ = true;
    Q_EMIT lastActivityChanged();
    followDate();
    lookForFolders(); // one may have been moved or lost since
}

void BridgeSettingsView::disappear() {
    shown_ = false;
    date_.cancel();
    looking_.cancel();
}

// What the bridge does

QString BridgeSettingsView::explanation() const {
    return isAuthenticated()
               ? localized(
                     "Vennic peut rechercher et lire les fichiers des dossiers partagés seulement quand ce pont est "
                     "actif. La présence du Mac reste visible une fois l'app appairée.")
               : localized("Appaire-toi d'abord dans l'onglet Général.");
}

void BridgeSettingsView::setBridgeEnabled(bool enabled) {
    if (isAuthenticated())
        with_.session.setBridgeEnabled(enabled);
}

QString BridgeSettingsView::statusLabel() const { return StatusRow{with_.bridge.status()}.label(); }

StatusRow::Color BridgeSettingsView::statusColor() const { return StatusRow{with_.bridge.status()}.color(); }

QString BridgeSettingsView::lastActivity() const {
    const auto& at = with_.bridge.lastTaskAt();
    return at && tasksServed() > 0 ? relativeDate(*at, with_.clock.now()) : QString();
}

void BridgeSettingsView::followDate() {
    date_.cancel();
    if (shown_ && with_.bridge.lastTaskAt())
        date_ = jobs_.start(keepDateTrue());
}

Task<> BridgeSettingsView::keepDateTrue() {
    while (const std::optional<QDateTime> at = with_.bridge.lastTaskAt()) {
        co_await with_.clock.sleep(relativeDateLasts(*at, with_.clock.now()));
        Q_EMIT lastActivityChanged();
    }
}

// The shared folders

QVariantList BridgeSettingsView::folders() const {
    const QString home = with_.files.homeDirectory();
    QVariantList rows;
    for (const BookmarkEntry& entry : with_.bookmarks.entries()) {
        const auto known = std::find_if(resolved_.begin(), resolved_.end(),
                                        [&](const ResolvedShare& share) { return share.grant.id == entry.id; });
        const auto* found = known != resolved_.end() && known->folder ? &*known->folder : nullptr;
        const bool isMissing = known != resolved_.end() && !found;
        const QString path = found       ? displayPath(found->path, home)
                             : isMissing ? localized("Introuvable : dossier déplacé, supprimé ou sur un disque absent.")
                                         : localized("Recherche du dossier…");
        rows.append(QVariantMap{{QStringLiteral("id"), entry.id.toString(QUuid::WithoutBraces)},
                                {QStringLiteral("name"), entry.displayName},
                                {QStringLiteral("path"), path},
                                {QStringLiteral("isMoved"), found && known->stale},
                                {QStringLiteral("isMissing"), isMissing}});
    }
    return rows;
}

void BridgeSettingsView::lookForFolders() {
    if (!shown_)
        return;
    looking_.cancel();
    looking_ = jobs_.start(resolveFolders());
}

Task<> BridgeSettingsView::resolveFolders() {
    resolved_ = co_await resolvedShares(with_.folders, with_.bookmarks.entries());
    Q_EMIT foldersChanged();
}

void BridgeSettingsView::pickFolder() {
    if (picking_)
        return;
    setAddError({});
    setPicking(true);
    jobs_.start(pick());
}

Task<> BridgeSettingsView::pick() {
    const FolderPanel panel{localized("Ajouter"), localized("Sélectionne les dossiers que le bridge peut parcourir")};
    try {
        add(co_await with_.picker.pick(panel));
    } catch (const LocalizedError& error) {
        setAddError(error.errorDescription());
    }
    setPicking(false);
}

void BridgeSettingsView::add(const QStringList& paths) {
    for (const QString& path : paths) {
        try {
            with_.bookmarks.add(FileURL{path});
        } catch (const LocalizedError& error) {
            setAddError(error.errorDescription());
        }
    }
}

void BridgeSettingsView::removeFolder(const QString& id) { with_.bookmarks.remove(QUuid::fromString(id)); }

void BridgeSettingsView::setAddError(const QString& error) {
    if (addError_ == error)
        return;
    addError_ = error;
    Q_EMIT addErrorChanged();
}

void BridgeSettingsView::setPicking(bool picking) {
    if (picking_ == picking)
        return;
    picking_ = picking;
    Q_EMIT isPickingChanged();
}

} // namespace vennic
