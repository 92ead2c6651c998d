#include "localllm/LocalLLMSettingsView.h"

#include "Bridge/FileURL.h"
#include "backend/LocalCompletionReader.h"
#include "base/Localized.h"
#include "base/Pool.h"
#include "base/ShownText.h"
#include "localllm/LocalLLMCatalog.h"
#include "localllm/LocalServerCheck.h"

#include <QFileInfo>

#include <cmath>

namespace vennic {

namespace {

using namespace std::chrono_literals;

constexpr auto betweenChecks = 2s;
constexpr auto startPatience = 45s;
constexpr auto newModelPatience = 120s; // it may have to be fetched
// A service manager gives a program a minute and a half to end.
constexpr auto reloadPatience = 100s;

qint64 deleteFromCache(const QString& home, const QString& id, const std::shared_ptr<FolderUsage>& usage) {
    return LocalLLMCatalog::deleteDownload(home, id, *usage);
}

void openOnTheDesktop(std::stop_token stop, const std::shared_ptr<Workspace>& workspace, const QString& path) {
    workspace->open(path, std::move(stop));
}

} // namespace

LocalLLMSettingsView::LocalLLMSettingsView(Surroundings surroundings)
    : with_(std::move(surroundings)), installStatus_(with_.installer.detect()), picker_(with_.session, with_.memory) {
    connect(&with_.session, &AppSession::localLLMEnabledChanged, this, &LocalLLMSettingsView::localLLMEnabledChanged);
    connect(&with_.session, &AppSession::localLLMEndpointChanged, this, &LocalLLMSettingsView::localLLMEndpointChanged);
}

void LocalLLMSettingsView::appear() {
    shown_ = true;
    picker_.appear();
    givingUp_.cancel(); // somebody looks at the reload again
    opening_.cancel();
    checking_.cancel();
    opening_ = jobs_.start(open());
}

Task<> LocalLLMSettingsView::open() {
    setInstallStatus();
    refreshDownloads();
    if (auto models = co_await LocalLLMCatalog::fetchRemoteModels(&with_.http, &with_.config))
        picker_.setModels(*std::move(models));
    checkHealth();
}

void LocalLLMSettingsView::disappear() {
    shown_ = false;
    for (Job* job : {&opening_, &checking_, &polling_, &test_, &action_, &download_})
        job->cancel();
    if (with_.installer.isReloading()) {
        givingUp_.cancel();
        givingUp_ = jobs_.start(giveUpReloadInTime());
    }
    keepModel();
}

Task<> LocalLLMSettingsView::giveUpReloadInTime() {
    co_await with_.clock.sleep(reloadPatience);
    with_.installer.giveUpReload();
}

// The server

void LocalLLMSettingsView::checkHealth() {
    if (isBusy()) {
        checkIsDue_ = true;
        return;
    }
    checking_.cancel(); // it may ask at an address that has changed since
    checking_ = jobs_.start(check());
}

Task<> LocalLLMSettingsView::check() {
    ++checks_;
    auto url = localServerURL(localLLMEndpoint(), QLatin1String("/models"));
    if (!url) {
        setHealthStatus(HealthStatus::down(localized("URL invalide")));
        co_return;
    }
    setHealthStatus(HealthStatus::checking());
    setAvailableModels({});
    co_await askServer(*std::move(url), checks_);
}

Task<> LocalLLMSettingsView::askServer(QUrl url, quint64 number) {
    try {
        const LocalServerAnswer answer = co_await checkLocalServer(&with_.http, std::move(url));
        if ((co_await StopToken{}).stop_requested())
            throw Cancelled();
        setHealthStatus(answer.health);
        setAvailableModels(answer.models);
    } catch (const Cancelled&) {
        if (number == checks_) // else another one has begun since
            setHealthStatus(HealthStatus::unknown());
        throw;
    }
}

Task<> LocalLLMSettingsView::pollHealthUntilUp(std::chrono::seconds seconds) {
    checking_.cancel();
    setHealthStatus(HealthStatus::checking());
    const auto deadline = with_.clock.elapsed() + seconds;
    while (with_.clock.elapsed() < deadline) {
        co_await check();
        if (healthStatus_ == HealthStatus::ok())
            co_return;
        co_await with_.clock.sleep(betweenChecks);
    }
}

QStringList LocalLLMSettingsView::shownModels() const {
    QStringList shown;
    for (const QString& id : availableModels_)
        shown.append(drawableLine(id));
    return shown;
}

void LocalLLMSettingsView::runTest() {
    if (testing_)
        return;
    setTesting(true);
    setTest({}, {});
    test_ = jobs_.start(test());
}

Task<> LocalLLMSettingsView::test() {
    try {
        const InferenceTestResult result =
            co_await testInference(&with_.http, &with_.clock, localLLMEndpoint(), with_.session.localLLMModel());
        setTest(result.output, result.error);
    } catch (const Cancelled&) { // NOLINT(bugprone-empty-catch): the window has gone
    }
    setTesting(false);
}

void LocalLLMSettingsView::restartServer() {
    if (!isBusy())
        begin(&LocalLLMSettingsView::restarting_, reload(false), startPatience);
}

void LocalLLMSettingsView::applyModel() {
    if (!isBusy())
        begin(&LocalLLMSettingsView::applying_, reload(true), newModelPatience);
}

void LocalLLMSettingsView::runInstall() {
    if (!isBusy() && downloadingId_.isEmpty())
        begin(&LocalLLMSettingsView::installing_, install(), startPatience);
}

void LocalLLMSettingsView::begin(Flag flag, Task<> action, std::chrono::seconds patience) {
    setAction(flag, true);
    setInstallError({});
    clearLog();
    action_ = jobs_.start(act(flag, std::move(action), patience));
}

Task<> LocalLLMSettingsView::act(Flag flag, Task<> action, std::chrono::seconds patience) {
    const bool isDone = co_await reporting(std::move(action));
    if (isDone && shown_) {
        checkIsDue_ = false;                               // the polling is one
        polling_ = jobs_.start(pollAfter(flag, patience)); // apart, so that it ends with the window
        co_return;
    }
    end(flag);
}

Task<> LocalLLMSettingsView::pollAfter(Flag flag, std::chrono::seconds patience) {
    co_await reporting(pollHealthUntilUp(patience));
    end(flag);
}

void LocalLLMSettingsView::end(Flag flag) {
    setAction(flag, false);
    if (std::exchange(checkIsDue_, false) && shown_)
        checkHealth();
}

Task<> LocalLLMSettingsView::reload(bool refreshesDownloads) {
    const QString model = with_.session.localLLMModel();
    log(localized("▶︎ mise à jour du LaunchAgent (modèle ") + model + u')');
    with_.installer.writeLaunchAgent(model);
    co_await with_.installer.reloadLaunchAgent([this](const QString& line) { log(line); });
    log(localized("✓ Modèle appliqué."));
    if (refreshesDownloads)
        refreshDownloads();
}

Task<> LocalLLMSettingsView::install() {
    co_await with_.installer.install(with_.session.localLLMModel(), [this](const QString& line) { log(line); });
    setInstallStatus();
}

// Installing and models

QVariantList LocalLLMSettingsView::components() const {
    QVariantList rows;
    for (const LocalLLMInstaller::Component& component : installStatus_.components)
        rows.append(
            QVariantMap{{QStringLiteral("label"), component.label},
                        {QStringLiteral("installed"), component.installed},
                        {QStringLiteral("detail"), displayPath(component.detail.value_or(QString()), with_.home)}});
    return rows;
}

void LocalLLMSettingsView::download(const QString& id) {
    if (!downloadingId_.isEmpty() || installing_ || deletingIds_.contains(id) ||
        !LocalLLMCatalog::model(id, catalogModels()))
        return;
    setDownloading(id);
    setInstallError({});
    download_ = jobs_.start(fetch(id));
}

Task<> LocalLLMSettingsView::fetch(QString id) {
    co_await reporting(fetchAndLook(id));
    setDownloading({});
}

Task<> LocalLLMSettingsView::fetchAndLook(QString id) {
    co_await with_.installer.downloadModel(id, [this](const QString& line) {
        lastSaid_ = line;
        log(line);
    });
    refreshDownloads();
}

QString LocalLLMSettingsView::deleteTitle() const {
    return pendingDelete_ ? localized("Supprimer ") + pendingDelete_->displayName : QString();
}

QString LocalLLMSettingsView::deleteMessage() {
    return localized("Les poids seront retirés du cache Hugging Face. Tu pourras re-télécharger à tout moment, mais "
                     "compte 2-20 min selon la taille.");
}

void LocalLLMSettingsView::askToDelete(const QString& id) {
    if (id != downloadingId_ && !deletingIds_.contains(id))
        setPendingDelete(LocalLLMCatalog::model(id, catalogModels()));
}

void LocalLLMSettingsView::keepModel() { setPendingDelete(std::nullopt); }

void LocalLLMSettingsView::deleteModel() {
    if (!pendingDelete_)
        return;
    const LocalLLMModel model = *pendingDelete_;
    setPendingDelete(std::nullopt);
    if (model.id == downloadingId_) // begun since the question
        return;
    setInstallError({});
    deletingIds_.append(model.id);
    Q_EMIT deletingIdsChanged();
    jobs_.start(remove(model));
}

Task<> LocalLLMSettingsView::remove(LocalLLMModel model) {
    co_await removeAndTell(model);
    deletingIds_.removeOne(model.id);
    Q_EMIT deletingIdsChanged();
}

Task<> LocalLLMSettingsView::removeAndTell(LocalLLMModel model) {
    qint64 bytes = 0;
    try {
        bytes = co_await onPoolWaiting(deleteFromCache, with_.home, model.id, with_.usage);
    } catch (const LocalizedError& error) {
        setInstallError(localized("Suppression échouée : ") + error.errorDescription());
        co_return;
    }
    refreshDownloads();
    log(QStringLiteral("✓ ") + model.displayName +
        localized(" supprimé (%1 MB libérés)").arg(std::llround(static_cast<double>(bytes) / 1e6)));
    if (with_.session.localLLMModel() == model.id)
        with_.session.setLocalLLMModel({});
    if (with_.session.selectedLocalModel() == model.id)
        with_.session.setSelectedLocalModel({});
}

QString LocalLLMSettingsView::memoryNote() const {
    const auto memory = picker_.memoryGB();
    return memory ? localized("RAM détectée : ") + QString::number(std::llround(*memory)) +
                        localized(" GB. Les modèles qui dépassent la RAM disponible swapperont — à éviter.")
                  : QString();
}

void LocalLLMSettingsView::openLogs() { jobs_.start(report(showLogs())); }

Task<> LocalLLMSettingsView::showLogs() {
    const RuntimePaths& paths = with_.installer.paths();
    const QString shown = QFileInfo::exists(paths.logFile) ? paths.logFile : paths.logDirectory;
    co_await onPoolWaiting(openOnTheDesktop, with_.workspace, shown);
}

// What is told

Task<bool> LocalLLMSettingsView::reporting(Task<> action) {
    try {
        co_await action;
        co_return true;
    } catch (const Cancelled&) { // NOLINT(bugprone-empty-catch): the window has gone
    } catch (const std::exception& error) {
        setInstallError(localizedDescription(error));
    }
    co_return false;
}

Task<> LocalLLMSettingsView::report(Task<> action) { co_await reporting(std::move(action)); }

void LocalLLMSettingsView::log(const QString& line) {
    log_.append(line);
    announceLog();
}

void LocalLLMSettingsView::clearLog() {
    log_.clear();
    announceLog();
}

void LocalLLMSettingsView::announceLog() {
    if (!std::exchange(logAnnounced_, false))
        return;
    QMetaObject::invokeMethod(
        this,
        [this] {
            logAnnounced_ = true;
            setProgress(shownLine(lastSaid_));
            Q_EMIT installLogChanged();
        },
        Qt::QueuedConnection);
}

void LocalLLMSettingsView::refreshDownloads() { picker_.setDownloaded(LocalLLMCatalog::downloadedIds(with_.home)); }

void LocalLLMSettingsView::setInstallStatus() {
    installStatus_ = with_.installer.detect();
    Q_EMIT installStatusChanged();
}

void LocalLLMSettingsView::setHealthStatus(const HealthStatus& status) {
    if (healthStatus_ == status)
        return;
    healthStatus_ = status;
    Q_EMIT healthStatusChanged();
}

void LocalLLMSettingsView::setAvailableModels(const QStringList& models) {
    if (availableModels_ == models)
        return;
    availableModels_ = models;
    Q_EMIT availableModelsChanged();
}

void LocalLLMSettingsView::setInstallError(const QString& error) {
    if (installError_ == error)
        return;
    installError_ = error;
    Q_EMIT installErrorChanged();
}

void LocalLLMSettingsView::setTest(const QString& output, const QString& error) {
    testOutput_ = output;
    testError_ = error;
    Q_EMIT testChanged();
}

void LocalLLMSettingsView::setTesting(bool testing) {
    testing_ = testing;
    Q_EMIT isTestingChanged();
}

void LocalLLMSettingsView::setAction(Flag flag, bool runs) {
    this->*flag = runs;
    Q_EMIT actionChanged();
}

void LocalLLMSettingsView::setDownloading(const QString& id) {
    downloadingId_ = id;
    Q_EMIT downloadingIdChanged();
    lastSaid_.clear();
    setProgress({});
}

void LocalLLMSettingsView::setProgress(const QString& line) {
    if (downloadProgress_ == line)
        return;
    downloadProgress_ = line;
    Q_EMIT downloadProgressChanged();
}

void LocalLLMSettingsView::setPendingDelete(const std::optional<LocalLLMModel>& model) {
    if (pendingDelete_ == model)
        return;
    pendingDelete_ = model;
    Q_EMIT pendingDeleteModelChanged();
}

} // namespace vennic
