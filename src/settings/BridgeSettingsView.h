#pragma once
#include "Bridge/BookmarkStore.h"
#include "Bridge/BridgeService.h"
#include "Bridge/ResolvedShare.h"
#include "base/ShownText.h"
#include "core/AppSession.h"
#include "ports/FolderPicker.h"
#include "settings/StatusRow.h"

#include <QObject>
#include <QVariantList>

namespace vennic {

/// The tab in which the user turns the bridge on, sees what it does, and chooses the folders that it may reach. It
/// outlives what shows it. Main thread only.
class BridgeSettingsView final : public QObject {
    Q_OBJECT
    Q_PROPERTY(bool isAuthenticated READ isAuthenticated NOTIFY isAuthenticatedChanged)
    Q_PROPERTY(QString explanation READ explanation NOTIFY isAuthenticatedChanged)
    Q_PROPERTY(bool bridgeEnabled READ bridgeEnabled WRITE setBridgeEnabled NOTIFY bridgeEnabledChanged)
    Q_PROPERTY(QString statusLabel READ statusLabel NOTIFY statusChanged)
    Q_PROPERTY(vennic::StatusRow::Color statusColor READ statusColor NOTIFY statusChanged)
    Q_PROPERTY(qint64 tasksServed READ tasksServed NOTIFY tasksServedChanged)
    Q_PROPERTY(QString lastActivity READ lastActivity NOTIFY lastActivityChanged)
    Q_PROPERTY(QString lastErrorMessage READ lastErrorMessage NOTIFY lastErrorMessageChanged)
    Q_PROPERTY(QVariantList folders READ folders NOTIFY foldersChanged)
    Q_PROPERTY(QString addError READ addError NOTIFY addErrorChanged)
    Q_PROPERTY(bool isPicking READ isPicking NOTIFY isPickingChanged)
public:
    /// What the view touches; each outlives it.
    struct Surroundings {
        AppSession& session;
        BookmarkStore& bookmarks;
        BridgeService& bridge;
        std::shared_ptr<FolderBookmarks> folders;
        FileSystem& files;
        FolderPicker& picker;
        Clock& clock;
    };

    explicit BridgeSettingsView(Surroundings surroundings);

    bool isAuthenticated() const { return with_.session.isAuthenticated(); }
    /// The words below the switch.
    QString explanation() const;
    bool bridgeEnabled() const { return with_.session.bridgeEnabled(); }
    /// Nothing before pairing.
    void setBridgeEnabled(bool enabled);
    QString statusLabel() const;
    StatusRow::Color statusColor() const;
    /// Shown from 1 on.
    qint64 tasksServed() const { return with_.bridge.tasksServed(); }
    /// How long ago the last task came in; empty until one has been served.
    QString lastActivity() const;
    /// Empty when there is none.
    QString lastErrorMessage() const { return shownReason(with_.bridge.lastErrorMessage().value_or(QString())); }
    /// Each grant in order: `id`, `name`, `path` (the words for where it is), `isMoved`,
    /// `isMissing`.
    QVariantList folders() const;
    /// The last failure of adding a folder; empty when there is none.
    QString addError() const { return shownReason(addError_); }
    bool isPicking() const { return picking_; }

    /// To be called when the window comes up, and when it has gone: only a shown date is kept up to date.
    void appear();
    void disappear();

    /// Has the user choose folders and shares each; while they choose already nothing happens.
    Q_INVOKABLE void pickFolder();
    Q_INVOKABLE void removeFolder(const QString& id);

Q_SIGNALS:
    void isAuthenticatedChanged();
    void bridgeEnabledChanged();
    void statusChanged();
    void tasksServedChanged();
    void lastActivityChanged();
    void lastErrorMessageChanged();
    void foldersChanged();
    void addErrorChanged();
    void isPickingChanged();

private:
    Task<> pick();
    void add(const QStringList& paths);
    void lookForFolders();
    Task<> resolveFolders();
    void followDate();
    Task<> keepDateTrue();
    void setAddError(const QString& error);
    void setPicking(bool picking);

    Surroundings with_;
    std::vector<ResolvedShare> resolved_; // as far as the grants have been looked for
    QString addError_;
    bool picking_ = false;
    bool shown_ = false;
    Job looking_;
    Job date_;
    Scope jobs_;
};

} // namespace vennic
