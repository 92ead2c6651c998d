#include "app/Client.h"

#include "backend/PinnedRoots.h"
#include "base/Pool.h"
#include "linux/AutomationToolProgram.h"
#include "linux/CredentialStoreChoice.h"
#include "linux/SpareMemory.h"
#include "linux/UserPresencePolkit.h"
#include "linux/WorkspaceGio.h"
#include "linux/photos/PicturesFolder.h"
#include "linux/worker/TextRecognizerWorker.h"
#include "localllm/LocalLLMCatalog.h"

#include <QDir>
#include <QFile>
#include <QGuiApplication>
#include <QScreen>
#include <QSysInfo>
#include <QTimer>

namespace vennic {

namespace {

constexpr auto farewell = std::chrono::seconds{3};

index::IndexerSettings indexSettings(const Paths& paths) {
    index::IndexerSettings settings;
    settings.directory = QFile::encodeName(paths.cache + QStringLiteral("/index")).toStdString();
    return settings;
}

photos::KeeperSettings photoSettings(const Paths& paths) {
    photos::KeeperSettings settings;
    settings.catalogue = QFile::encodeName(paths.data + QStringLiteral("/photos.sqlite")).toStdString();
    settings.folder = [] { return QFile::encodeName(photos::picturesFolder()).toStdString(); };
    return settings;
}

/// The store together with what it asks the user by: whoever still reads from it keeps both.
std::shared_ptr<CredentialStore> credentialStore(const Paths& paths) {
    struct Held {
        UserPresencePolkit presence;
        std::unique_ptr<CredentialStore> store;
    };
    const auto held = std::make_shared<Held>();
    held->store = makeCredentialStore(held->presence, paths.data + QStringLiteral("/credentials.json"));
    return {held, held->store.get()};
}

std::optional<double> mainScreenScale() {
    const QScreen* const screen = qobject_cast<QGuiApplication*>(QCoreApplication::instance()) != nullptr
                                      ? QGuiApplication::primaryScreen()
                                      : nullptr;
    return screen != nullptr ? std::optional(screen->devicePixelRatio()) : std::nullopt;
}

} // namespace

Client::Client(const Paths& paths, Deployment deployment)
    : preferences_(paths.data + QStringLiteral("/preferences.sqlite")), credentials_(credentialStore(paths)),
      keychain_(credentials_, preferences_),
      http_(transport_, deployment.apiHost, loadPinnedRoots(paths.resources + QStringLiteral("/pinned-roots.pem"))),
      config_(preferences_, std::move(deployment)), files_(std::make_shared<FileSystemPosix>()),
      types_(std::make_shared<FileTypesShared>()), folders_(std::make_shared<FolderBookmarksInode>()),
      reader_(std::make_shared<DocumentReaderWorker>(DocumentWorkerOptions::interactive(paths.textWorker()))),
      indexReader_(DocumentWorkerOptions::backgroundLane(paths.textWorker())),
      pictures_(std::make_shared<WorkerLane>(DocumentWorkerOptions::pictures(paths.pictureWorker()))),
      workspace_(std::make_shared<WorkspaceGio>()), thumbnailer_(std::make_shared<ThumbnailerDesktop>(pictures_)),
      indexTexts_(indexReader_, *types_), queryTexts_(*reader_, *types_),
      index_(indexSettings(paths), indexTexts_, queryTexts_, *types_),
      granted_(index_, [this] { indexSharedFolders(); }), bookmarks_(preferences_, *folders_, *files_, clock_),
      spotlight_(granted_, files_, types_, clock_), dialogs_(paths.dialogProgram()),
      folderPicker_(paths.dialogProgram(), [this] { return dialogs_.hasScreen(); }),
      photoConsent_(preferences_, dialogs_),
      photoReader_(std::make_shared<photos::PhotoFactsWorker>(paths.pictureWorker(), pictures_)),
      photos_(std::make_shared<PhotoLibraryFolder>(photoConsent_, photoSettings(paths), photoReader_, types_)),
      automations_(std::make_shared<AutomationToolProgram>(paths.programs + QStringLiteral("/vennic-shortcuts"))),
      bridgeContext_(keychain_, preferences_, mainScreenScale), telemetry_(http_, memory_, clock_),
      heartbeat_(telemetry_, clock_, [home = QDir::homePath()] { return LocalLLMCatalog::downloadedIds(home); }),
      localRuntime_(paths, config_.deployment().packageManagerSite), preferenceSync_(http_, config_, clock_) {
    BookmarkStore::install(&bookmarks_);
    LocalLLMTelemetry::install(&telemetry_);
    const auto recognizer = std::make_shared<TextRecognizerWorker>(pictures_);
    bridge_ = std::make_unique<BridgeService>(BridgeService::Surroundings{
        .http = http_,
        .config = config_,
        .clock = clock_,
        .context = bridgeContext_,
        .heartbeat = &heartbeat_,
        .telemetry = telemetry_,
        .store = preferences_,
        .index = granted_,
        .bookmarks = folders_,
        .files = files_,
        .types = types_,
        .reader = reader_,
        .photos = photos_,
        .workspace = workspace_,
        .automations = automations_,
        .thumbnailer = thumbnailer_,
        .recognizer = recognizer,
    });
    BridgeService::install(bridge_.get());
    tools_ = std::make_unique<LocalToolRegistry>(LocalToolRegistry::Surroundings{
        .store = preferences_,
        .index = granted_,
        .clock = clock_,
        .idCache = bridge_->idCache(),
        .bookmarks = folders_,
        .files = files_,
        .types = types_,
        .reader = reader_,
        .recognizer = recognizer,
        .photos = photos_,
        .workspace = workspace_,
        .automations = automations_,
    });
    session_ = std::make_unique<AppSession>(AppSession::Surroundings{
        .store = preferences_,
        .keychain = keychain_,
        .http = http_,
        .config = config_,
        .bridge = *bridge_,
        .preferences = preferenceSync_,
        .telemetry = telemetry_,
        .hostName = QSysInfo::machineHostName(),
    });
    AppSession::install(session_.get());
    returnMemoryAfterTasks();
    bridgeContext_.follow(session_.get());
    localChat_ = std::make_unique<LocalToolChat>(LocalToolChat::Surroundings{
        .session = *session_,
        .tools = *tools_,
        .http = http_,
        .config = config_,
        .clock = clock_,
    });
    chat_ = std::make_unique<ChatView>(ChatView::Surroundings{
        .session = *session_,
        .http = http_,
        .config = config_,
        .clock = clock_,
        .local = *localChat_,
    });
    indexSharedFolders();
    QObject::connect(&bookmarks_, &BookmarkStore::entriesChanged, &bookmarks_, [this] { indexSharedFolders(); });
}

Client::~Client() {
    // Whoever waits for a document gets a failure now, so that no thread holds up the end.
    reader_->close();
    pictures_->close();
    thumbnailer_->close();
    indexReader_.close();
    photoReader_->close();
    photos_->close();
    AppSession::install(nullptr);
    BridgeService::install(nullptr);
    BookmarkStore::install(nullptr);
    LocalLLMTelemetry::install(nullptr);
}

void Client::end(const std::function<void()>& quit) {
    if (ending_ || !hasFarewells())
        return quit();
    ending_ = true;
    const auto quitWhenTold = [this, quit] {
        if (!hasFarewells())
            quit();
    };
    QObject::connect(session_.get(), &AppSession::tokenRevoked, session_.get(), quitWhenTold);
    jobs_.start(whenFiled(localChat_.get(), quitWhenTold));
    jobs_.start(whenReloaded(&localLLMInstaller(), quitWhenTold));
    QTimer::singleShot(farewell, session_.get(), quit);
}

bool Client::hasFarewells() const {
    return session_->isRevoking() || localChat_->isFiling() || localRuntime_.installer().isReloading();
}

Task<> Client::whenFiled(DirectLocalChat* chat, std::function<void()> then) {
    co_await chat->filed(farewell);
    then();
}

Task<> Client::whenReloaded(LocalLLMInstaller* installer, std::function<void()> then) {
    co_await installer->reloaded();
    then();
}

void Client::returnMemoryAfterTasks() {
    using namespace std::chrono_literals;
    afterTasks_.setSingleShot(true);
    afterTasks_.setInterval(1s);
    const auto soon = [this] {
        if (!afterTasks_.isActive())
            afterTasks_.start();
    };
    QObject::connect(bridge_.get(), &BridgeService::tasksServedChanged, &afterTasks_, soon);
    QObject::connect(session_.get(), &AppSession::isStreamingChanged, &afterTasks_, soon); // tools list folders, too
    QObject::connect(&afterTasks_, &QTimer::timeout, &afterTasks_, [] { submitToPool(returnSpareMemory); });
}

SharedFolderSearch Client::documentSearch() {
    return {BookmarkPersistence(preferences_), folders_, spotlight_, bridge_->idCache()};
}

void Client::warn(const QString& title, const QString& informativeText) {
    jobs_.start(dialogs_.warn(title, informativeText));
}

void Client::indexSharedFolders() {
    following_.cancel();
    following_ = jobs_.start(followGrants());
}

Task<> Client::followGrants() {
    QStringList paths;
    for (const ResolvedShare& share : co_await shares()) {
        if (share.folder)
            paths.append(share.folder->path);
    }
    granted_.setFolders(paths);
}

} // namespace vennic
