#pragma once
#include "Bridge/BookmarkStore.h"
#include "Bridge/BridgeService.h"
#include "Bridge/LocalLLMHeartbeat.h"
#include "Bridge/LocalToolRegistry.h"
#include "Bridge/ResolvedShare.h"
#include "Bridge/SharedFolderSearch.h"
#include "app/GrantedFileIndex.h"
#include "app/LocalRuntime.h"
#include "app/Paths.h"
#include "app/SessionBridgeContext.h"
#include "backend/ChatView.h"
#include "backend/Deployment.h"
#include "backend/LocalToolChat.h"
#include "core/AppSession.h"
#include "core/ServerPreferenceSync.h"
#include "linux/FileSystemPosix.h"
#include "linux/FileTypesShared.h"
#include "linux/FolderBookmarksInode.h"
#include "linux/HttpTransportCurl.h"
#include "linux/KeyValueStoreSqlite.h"
#include "linux/SystemMemoryProc.h"
#include "linux/dialog/FolderPickerDesktop.h"
#include "linux/dialog/ModalDialogsProgram.h"
#include "linux/index/DocumentTextSource.h"
#include "linux/index/FileIndexSegments.h"
#include "linux/photos/PhotoFactsWorker.h"
#include "linux/photos/PhotoLibraryFolder.h"
#include "linux/thumbnail/ThumbnailerDesktop.h"
#include "linux/worker/DocumentReaderWorker.h"
#include "linux/worker/WorkerLane.h"
#include "ports/DesktopAppearance.h"
#include "ports/Workspace.h"

#include <QTimer>

#include <functional>

namespace vennic {

/// All that the running client is made of, built in the order of its members and torn down in the other.
class Client {
public:
    /// May ask the user to prove their presence. Raises LocalizedError when something without which there is no
    /// client can't be made.
    Client(const Paths& paths, Deployment deployment);
    Client(const Client&) = delete;
    Client& operator=(const Client&) = delete;
    ~Client();

    /// Calls `quit` once the backend knows of a sign-out and of every turn that was answered here, and a reload of the
    /// local model's server has ended, or three seconds have passed; at once when there is nothing to await, and when
    /// asked a second time.
    void end(const std::function<void()>& quit);

    AppSession& session() { return *session_; }
    BridgeService& bridge() { return *bridge_; }
    BookmarkStore& bookmarks() { return bookmarks_; }
    /// The grants, and where their folders are now.
    Task<std::vector<ResolvedShare>> shares() const { return resolvedShares(folders_, bookmarks_.entries()); }
    const std::shared_ptr<FolderBookmarks>& sharedFolders() const { return folders_; }
    FileIndex& index() { return granted_; }
    KeychainStore& keychain() { return keychain_; }
    CredentialStore& credentials() { return *credentials_; }
    ModalDialogs& dialogs() { return dialogs_; }
    /// The dialogs look as the desktop likes it, which `appearance` says for as long as the client runs.
    void follow(const DesktopAppearance& appearance) {
        dialogs_.setDark([&appearance] { return appearance.isDark(); });
    }
    FolderPicker& folderPicker() { return folderPicker_; }
    FileSystem& files() { return *files_; }
    PhotoConsent& photoConsent() { return photoConsent_; }
    PhotoLibraryFolder& photos() { return *photos_; }
    const std::shared_ptr<PhotoLibraryFolder>& sharedPhotos() const { return photos_; }
    ChatView& chat() { return *chat_; }
    /// By words, as the backend and the local model search.
    SharedFolderSearch documentSearch();
    const std::shared_ptr<Workspace>& workspace() const { return workspace_; }
    Clock& clock() { return clock_; }
    VennicHTTP& http() { return http_; }
    LocalLLMTelemetry& telemetry() { return telemetry_; }
    const APIConfig& config() const { return config_; }
    /// Installs the local model's server; outlives all jobs of the surfaces.
    LocalLLMInstaller& localLLMInstaller() { return localRuntime_.installer(); }
    const SystemMemory& memory() const { return memory_; }
    KeyValueStoreSqlite& preferences() { return preferences_; }

    /// Shows a warning; nothing waits for its end.
    void warn(const QString& title, const QString& informativeText);

private:
    /// Whether the backend is being told something that it should know before the end, or the local model's server is
    /// being started anew, which would be left stopped.
    bool hasFarewells() const;
    static Task<> whenFiled(DirectLocalChat* chat, std::function<void()> then);
    static Task<> whenReloaded(LocalLLMInstaller* installer, std::function<void()> then);
    /// Has the index follow the grants, wherever their folders are now.
    void indexSharedFolders();
    Task<> followGrants();
    /// A machine that listed a huge folder, for the backend or for its own model, is soon as small as before.
    void returnMemoryAfterTasks();

    SystemClock clock_;
    KeyValueStoreSqlite preferences_;
    std::shared_ptr<CredentialStore> credentials_;
    KeychainStore keychain_;
    HttpTransportCurl transport_;
    VennicHTTP http_;
    APIConfig config_;
    std::shared_ptr<FileSystem> files_;
    std::shared_ptr<FileTypes> types_;
    std::shared_ptr<FolderBookmarks> folders_;
    std::shared_ptr<DocumentReaderWorker> reader_; // for who waits
    DocumentReaderWorker indexReader_;             // for the index, at idle priority
    std::shared_ptr<WorkerLane> pictures_;         // everything that takes a picture library, for who waits
    std::shared_ptr<Workspace> workspace_;
    std::shared_ptr<ThumbnailerDesktop> thumbnailer_;
    index::DocumentTextSource indexTexts_;
    index::DocumentTextSource queryTexts_;
    FileIndexSegments index_;
    GrantedFileIndex granted_;
    BookmarkStore bookmarks_;
    SpotlightSearch spotlight_;
    ModalDialogsProgram dialogs_;
    FolderPickerDesktop folderPicker_;
    PhotoConsent photoConsent_;
    std::shared_ptr<photos::PhotoFactsWorker> photoReader_;
    std::shared_ptr<PhotoLibraryFolder> photos_;
    std::shared_ptr<AutomationTool> automations_;
    SessionBridgeContext bridgeContext_;
    SystemMemoryProc memory_;
    LocalLLMTelemetry telemetry_;
    LocalLLMHeartbeat heartbeat_;
    LocalRuntime localRuntime_;
    std::unique_ptr<BridgeService> bridge_;
    QTimer afterTasks_;
    ServerPreferenceSync preferenceSync_;
    std::unique_ptr<AppSession> session_;
    std::unique_ptr<LocalToolRegistry> tools_;
    std::unique_ptr<LocalToolChat> localChat_;
    std::unique_ptr<ChatView> chat_;
    bool ending_ = false;
    Job following_;
    Scope jobs_;
};

} // namespace vennic
