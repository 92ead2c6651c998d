#pragma once
#include "Bridge/BridgeContext.h"
#include "Bridge/BridgeIDCache.h"
#include "Bridge/HeartbeatSource.h"
#include "Bridge/ListDirHandler.h"
#include "Bridge/ListFoldersHandler.h"
#include "Bridge/LocalLLMHandler.h"
#include "Bridge/OcrHandler.h"
#include "Bridge/OpenDocumentHandler.h"
#include "Bridge/PhotosBridgeHandler.h"
#include "Bridge/ReadHandler.h"
#include "Bridge/ScreenControlBridgeHandler.h"
#include "Bridge/SearchHandler.h"
#include "Bridge/TaskAnswer.h"
#include "Bridge/ThumbnailHandler.h"
#include "backend/APIService.h"
#include "base/Clock.h"
#include "core/BridgeControl.h"
#include "ports/KeyValueStore.h"

#include <QObject>

#include <memory>
#include <optional>

namespace vennic {

/// The loop by which the backend reaches this machine: it holds one long-poll open, takes one task at a time, does it
/// here and sends the answer back. Main thread only; never destroyed from inside one of its own signals.
class BridgeService final : public QObject, public BridgeControl {
    Q_OBJECT
public:
    /// State of the loop.
    struct Status {
        enum class State { off, idle, polling, busy, error };

        State state = State::off;
        std::optional<BridgeTaskKind> kind; // of the running task, while busy
        QString message;                    // of the failure, while in error
        bool operator==(const Status&) const = default;

        static Status off() { return {}; }
        static Status idle() { return {.state = State::idle, .kind = {}, .message = {}}; }
        static Status polling() { return {.state = State::polling, .kind = {}, .message = {}}; }
        static Status busy(BridgeTaskKind kind) { return {.state = State::busy, .kind = kind, .message = {}}; }
        static Status error(const QString& text) { return {.state = State::error, .kind = {}, .message = text}; }
    };

    /// All that the service works with. What is named by reference outlives it; what is shared may be in use on the
    /// pool a little longer than the service lives.
    struct Surroundings {
        VennicHTTP& http;
        const APIConfig& config;
        Clock& clock;
        BridgeContext& context;
        HeartbeatSource* heartbeat; // null while nothing can be told
        LocalLLMTelemetry& telemetry;
        KeyValueStore& store;
        FileIndex& index;
        std::shared_ptr<FolderBookmarks> bookmarks;
        std::shared_ptr<FileSystem> files;
        std::shared_ptr<FileTypes> types;
        std::shared_ptr<DocumentReader> reader;
        std::shared_ptr<PhotoLibrary> photos;
        std::shared_ptr<Workspace> workspace;
        std::shared_ptr<AutomationTool> automations;
        std::shared_ptr<Thumbnailer> thumbnailer;
        std::shared_ptr<TextRecognizer> recognizer;
    };

    explicit BridgeService(Surroundings surroundings);

    /// The service that the program installed.
    static BridgeService& shared() { return *shared_; }
    static void install(BridgeService* service) { shared_ = service; }

    /// Begins to poll with `token`. An empty token changes nothing, and neither does the one that is in use; another
    /// one replaces the running loop.
    void start(SecretText token) override;
    void stop() override;

    const Status& status() const { return status_; }
    /// When the last task came in, UTC.
    const std::optional<QDateTime>& lastTaskAt() const { return lastTaskAt_; }
    /// Tasks whose handling ended, refused ones included; never goes back.
    qint64 tasksServed() const { return tasksServed_; }
    const std::optional<QString>& lastErrorMessage() const { return lastErrorMessage_; }
    /// The handles that were given out; they outlive `stop`.
    BridgeIDCache& idCache() { return idCache_; }

Q_SIGNALS:
    void statusChanged();
    void lastTaskAtChanged();
    void tasksServedChanged();
    void lastErrorMessageChanged();

private:
    struct Turn; // how one poll ended
    struct Dispatch;

    Task<> pollLoop(quint64 loop);
    bool hasToken() const;
    static Task<Turn> poll(APIService api);
    Task<> serve(BridgeTask task, APIService api, quint64 loop);
    Task<> handle(BridgeTask task, APIService api);
    Task<std::optional<QString>> work(BridgeTask task, APIService api);
    Task<bool> canHandle(BridgeTask task, APIService api);
    Task<> pause(std::chrono::nanoseconds duration);
    Task<APIService::BridgeHeaders> deviceHeaders();
    Task<std::optional<QByteArray>> encodeHeartbeat();
    static bool isExpectedPollTimeout(const std::exception& error);
    ShownDocuments shownDocuments() const;

    // A loop that has been replaced no longer speaks for the service: what it says here is dropped.
    void say(quint64 loop, const Status& status);
    void sayFailure(quint64 loop, const QString& message);
    void sayRecovered(quint64 loop);

    void noteTask();
    void setStatus(const Status& status);
    void setLastErrorMessage(const std::optional<QString>& message);

    static BridgeService* shared_;

    Surroundings with_;
    Status status_;
    std::optional<QDateTime> lastTaskAt_;
    qint64 tasksServed_ = 0;
    std::optional<QString> lastErrorMessage_;
    BridgeIDCache idCache_;
    TaskAnswer answer_;
    SearchHandler search_;
    ReadHandler read_;
    ListFoldersHandler listFolders_;
    ListDirHandler listDir_;
    PhotosBridgeHandler photos_;
    ScreenControlBridgeHandler screen_;
    OpenDocumentHandler openDocument_;
    ThumbnailHandler thumbnail_;
    OcrHandler ocr_;
    LocalLLMHandler localLLM_;
    Job pollTask_;
    std::optional<SecretText> token_;
    qint64 consecutiveFailures_ = 0;
    quint64 loop_ = 0; // number of the loop that may speak for the service
    Scope jobs_;
};

} // namespace vennic
