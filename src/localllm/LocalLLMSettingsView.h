#pragma once
#include "backend/APIConfig.h"
#include "backend/VennicHTTP.h"
#include "base/Clock.h"
#include "core/AppSession.h"
#include "localllm/HealthStatus.h"
#include "localllm/InstallLog.h"
#include "localllm/LocalLLMInstaller.h"
#include "localllm/ModelCatalogPicker.h"
#include "ports/FolderUsage.h"
#include "ports/Workspace.h"

#include <QObject>
#include <QUrl>

#include <functional>

namespace vennic {

/// The tab in which the user turns the local model on, chooses it, and installs, starts and watches its server. It
/// outlives what shows it. Main thread only.
class LocalLLMSettingsView final : public QObject {
    Q_OBJECT
    Q_PROPERTY(bool localLLMEnabled READ localLLMEnabled WRITE setLocalLLMEnabled NOTIFY localLLMEnabledChanged)
    Q_PROPERTY(QString localLLMEndpoint READ localLLMEndpoint WRITE setLocalLLMEndpoint NOTIFY localLLMEndpointChanged)
    Q_PROPERTY(vennic::ModelCatalogPicker* picker READ picker CONSTANT)
    Q_PROPERTY(vennic::LocalLLMSettingsView::Health health READ health NOTIFY healthStatusChanged)
    Q_PROPERTY(QString healthLabel READ healthLabel NOTIFY healthStatusChanged)
    Q_PROPERTY(QStringList shownModels READ shownModels NOTIFY availableModelsChanged)
    Q_PROPERTY(QString testOutput READ testOutput NOTIFY testChanged)
    Q_PROPERTY(QString testError READ testError NOTIFY testChanged)
    Q_PROPERTY(bool isTesting READ isTesting NOTIFY isTestingChanged)
    Q_PROPERTY(QVariantList components READ components NOTIFY installStatusChanged)
    Q_PROPERTY(QStringList shownLog READ shownLog NOTIFY installLogChanged)
    Q_PROPERTY(bool isInstalling READ isInstalling NOTIFY actionChanged)
    Q_PROPERTY(bool isRestarting READ isRestarting NOTIFY actionChanged)
    Q_PROPERTY(bool isApplying READ isApplying NOTIFY actionChanged)
    Q_PROPERTY(bool isBusy READ isBusy NOTIFY actionChanged)
    Q_PROPERTY(QString installError READ installError NOTIFY installErrorChanged)
    Q_PROPERTY(QString downloadingId READ downloadingId NOTIFY downloadingIdChanged)
    Q_PROPERTY(QString downloadProgress READ downloadProgress NOTIFY downloadProgressChanged)
    Q_PROPERTY(int downloadPercentage READ downloadPercentage NOTIFY downloadProgressChanged)
    Q_PROPERTY(QStringList deletingIds READ deletingIds NOTIFY deletingIdsChanged)
    Q_PROPERTY(bool isDeletePending READ isDeletePending NOTIFY pendingDeleteModelChanged)
    Q_PROPERTY(QString deleteTitle READ deleteTitle NOTIFY pendingDeleteModelChanged)
    Q_PROPERTY(QString deleteMessage READ deleteMessage CONSTANT)
    Q_PROPERTY(QString memoryNote READ memoryNote CONSTANT)
    Q_PROPERTY(QString packageManagerSite READ packageManagerSite CONSTANT)
public:
    enum class Health { unknown, checking, ok, down }; // as in HealthStatus
    Q_ENUM(Health)

    /// What the view touches; each outlives it.
    struct Surroundings {
        AppSession& session;
        VennicHTTP& http;
        const APIConfig& config;
        LocalLLMInstaller& installer;
        QString home; // of the user, absolute
        std::shared_ptr<FolderUsage> usage;
        const SystemMemory& memory;
        std::shared_ptr<Workspace> workspace;
        Clock& clock;
        std::function<void(const QUrl&)> openURL; // in the default browser
    };

    explicit LocalLLMSettingsView(Surroundings surroundings);

    bool localLLMEnabled() const { return with_.session.localLLMEnabled(); }
    void setLocalLLMEnabled(bool enabled) { with_.session.setLocalLLMEnabled(enabled); }
    QString localLLMEndpoint() const { return with_.session.localLLMEndpoint(); }
    void setLocalLLMEndpoint(const QString& endpoint) { with_.session.setLocalLLMEndpoint(endpoint); }

    const HealthStatus& healthStatus() const { return healthStatus_; }
    Health health() const { return static_cast<Health>(healthStatus_.state); }
    QString healthLabel() const { return healthStatus_.label(); }
    /// What the server lists.
    const QStringList& availableModels() const { return availableModels_; }
    /// The same without control characters, which a server may write into them.
    QStringList shownModels() const;
    /// The result of the test; both empty while there is none.
    const QString& testOutput() const { return testOutput_; }
    const QString& testError() const { return testError_; }
    bool isTesting() const { return testing_; }

    const LocalLLMInstaller::Status& installStatus() const { return installStatus_; }
    /// Of each component: `label`, `installed`, `detail` (its path, with a tilde for the home).
    QVariantList components() const;
    /// Lines of installing, downloading and applying, the last 200.
    const QStringList& installLog() const { return log_.lines(); }
    QStringList shownLog() const { return log_.shown(); }
    bool isInstalling() const { return installing_; }
    bool isRestarting() const { return restarting_; }
    bool isApplying() const { return applying_; }
    /// Whether one of these three runs; none starts before it has ended.
    bool isBusy() const { return installing_ || restarting_ || applying_; }
    /// The last failure of what is done to the server or to models; empty when there is none.
    const QString& installError() const { return installError_; }

    ModelCatalogPicker* picker() { return &picker_; }
    const std::vector<LocalLLMModel>& catalogModels() const { return picker_.models(); }
    const QSet<QString>& downloadedModelIds() const { return picker_.downloaded(); }
    bool isCustomModel() const { return picker_.isCustomModel(); }
    QString modelHint() const { return picker_.hint(); }
    /// The model that is being downloaded; empty while none is.
    const QString& downloadingId() const { return downloadingId_; }
    /// The last that the downloading tool said.
    const QString& downloadProgress() const { return downloadProgress_; }
    /// How far it says that it is; -1 when it doesn't.
    int downloadPercentage() const { return percentageIn(downloadProgress_).value_or(-1); }
    /// The models that are being deleted.
    const QStringList& deletingIds() const { return deletingIds_; }
    /// The model whose removal the user is to confirm.
    const std::optional<LocalLLMModel>& pendingDeleteModel() const { return pendingDelete_; }
    bool isDeletePending() const { return pendingDelete_.has_value(); }
    QString deleteTitle() const;
    static QString deleteMessage();
    /// How much memory the machine has, and what that means; empty where the system doesn't tell.
    QString memoryNote() const;
    QString packageManagerSite() const { return with_.config.deployment().packageManagerSite; }

    /// To be called each time that the tab comes up.
    void appear();
    /// To be called when the window has gone. Ends what runs, but for a server that is being started anew, which would
    /// be left stopped: that is given up after a while, unless the tab has come up again.
    void disappear();

    /// Asks the server every two seconds until it answers, for so long at most.
    Task<> pollHealthUntilUp(std::chrono::seconds seconds);

    /// A check that runs is dropped for the new one. While the server is being taken away it waits for the end of
    /// that.
    Q_INVOKABLE void checkHealth();

    // Each of these is ignored while it runs.

    Q_INVOKABLE void runTest();
    Q_INVOKABLE void restartServer();
    Q_INVOKABLE void applyModel();
    /// Not beside a download: both change what uv keeps.
    Q_INVOKABLE void runInstall();
    /// Downloads a model of the catalogue; one at a time, not beside an installation, and none that is being deleted.
    Q_INVOKABLE void download(const QString& id);
    /// Has the user confirm that a model of the catalogue is to be deleted; not one that is being downloaded or
    /// deleted.
    Q_INVOKABLE void askToDelete(const QString& id);
    Q_INVOKABLE void keepModel();
    /// Deletes what the user was asked about.
    Q_INVOKABLE void deleteModel();
    Q_INVOKABLE void openLogs();
    Q_INVOKABLE void openPackageManagerSite() { with_.openURL(QUrl(packageManagerSite())); }

Q_SIGNALS:
    void localLLMEnabledChanged();
    void localLLMEndpointChanged();
    void healthStatusChanged();
    void availableModelsChanged();
    void testChanged();
    void isTestingChanged();
    void installStatusChanged();
    void installLogChanged(); // once for all lines that came together
    void actionChanged();     // of the three that take the server away
    void installErrorChanged();
    void downloadingIdChanged();
    void downloadProgressChanged();
    void deletingIdsChanged();
    void pendingDeleteModelChanged();

private:
    using Flag = bool LocalLLMSettingsView::*;

    Task<> open();
    Task<> check();
    Task<> askServer(QUrl url, quint64 number);
    Task<> test();
    /// Begins one of the actions that take the server away.
    void begin(Flag flag, Task<> action, std::chrono::seconds patience);
    Task<> act(Flag flag, Task<> action, std::chrono::seconds patience);
    Task<> pollAfter(Flag flag, std::chrono::seconds patience);
    void end(Flag flag);
    Task<> reload(bool refreshesDownloads);
    Task<> install();
    Task<> fetch(QString id);
    Task<> fetchAndLook(QString id);
    Task<> remove(LocalLLMModel model);
    Task<> removeAndTell(LocalLLMModel model);
    Task<> showLogs();
    Task<> giveUpReloadInTime();
    /// Whether `action` came to a good end; what it raises is the error that is shown.
    Task<bool> reporting(Task<> action);
    Task<> report(Task<> action);
    void log(const QString& line);
    void clearLog();
    void announceLog();
    void refreshDownloads();
    void setAction(Flag flag, bool runs);
    void setHealthStatus(const HealthStatus& status);
    void setAvailableModels(const QStringList& models);
    void setInstallError(const QString& error);
    void setTest(const QString& output, const QString& error);
    void setTesting(bool testing);
    void setInstallStatus();
    void setDownloading(const QString& id);
    void setProgress(const QString& line);
    void setPendingDelete(const std::optional<LocalLLMModel>& model);

    Surroundings with_;
    HealthStatus healthStatus_;
    quint64 checks_ = 0; // that have begun
    bool checkIsDue_ = false;
    QStringList availableModels_;
    QString testOutput_;
    QString testError_;
    bool testing_ = false;
    LocalLLMInstaller::Status installStatus_;
    InstallLog log_;
    bool logAnnounced_ = true;
    bool installing_ = false;
    bool restarting_ = false;
    bool applying_ = false;
    QString installError_;
    QString downloadingId_;
    QString lastSaid_; // by the downloading tool; told with the log
    QString downloadProgress_;
    QStringList deletingIds_;
    std::optional<LocalLLMModel> pendingDelete_;
    ModelCatalogPicker picker_;
    bool shown_ = false;
    Job opening_;
    Job checking_;
    Job polling_;
    Job test_;
    Job action_; // the one that runs of those that take the server away
    Job download_;
    Job givingUp_;
    Scope jobs_;
};

} // namespace vennic
