#include "Bridge/BridgeService.h"

#include "base/Localized.h"
#include "base/TransportError.h"

#include <algorithm>
#include <cmath>

namespace vennic {

namespace {

constexpr qint64 pollWait = 25; // seconds

/// 1, 2, 4, 8, 16, then 30 seconds, for the n-th failure in a row.
std::chrono::nanoseconds backOff(qint64 n) {
    const double seconds = std::min(30.0, std::pow(2.0, static_cast<double>(std::min<qint64>(n - 1, 5))));
    return std::chrono::nanoseconds{static_cast<qint64>(seconds * 1e9)};
}

} // namespace

struct BridgeService::Turn {
    enum class End { task, nothing, cancelled, timedOut, failed };

    End end = End::nothing;
    BridgeTask task; // with End::task
    QString message; // with End::failed
};

/// Picks the handler of each case; a case without one doesn't compile.
struct BridgeService::Dispatch {
    BridgeService& service;
    const BridgeTask& task;
    const APIService& api;

    Task<> operator()(const SearchArgs& args) const { return service.search_.handleSearch(task, args, api); }
    Task<> operator()(const ReadArgs& args) const { return service.read_.handleRead(task, args, api); }
    Task<> operator()(const ListFoldersArgs&) const { return service.listFolders_.handleListFolders(task, api); }
    Task<> operator()(const ListDirArgs& args) const { return service.listDir_.handleListDir(task, args, api); }
    Task<> operator()(const PhotosRecentArgs& args) const { return service.photos_.handleRecent(task, args, api); }
    Task<> operator()(const PhotosByDateArgs& args) const { return service.photos_.handleByDate(task, args, api); }
    Task<> operator()(const AppOpenArgs& args) const { return service.screen_.handleOpenApp(task, args, api); }
    Task<> operator()(const ShortcutRunArgs& args) const { return service.screen_.handleRunShortcut(task, args, api); }
    Task<> operator()(const ShortcutListArgs&) const { return service.screen_.handleListShortcuts(task, api); }
    Task<> operator()(const OpenDocumentArgs& args) const {
        return service.openDocument_.handleOpenDocument(task, args, api);
    }
    Task<> operator()(const ThumbnailArgs& args) const { return service.thumbnail_.handleThumbnail(task, args, api); }
    Task<> operator()(const OcrImageArgs& args) const { return service.ocr_.handleOcrImage(task, args, api); }
    Task<> operator()(const LLMInferArgs& args) const { return service.localLLM_.handle(task, args, api); }
};

BridgeService* BridgeService::shared_ = nullptr;

BridgeService::BridgeService(Surroundings surroundings)
    : with_(std::move(surroundings)), answer_([this](const QString& reason) { setLastErrorMessage(reason); }),
      search_(BookmarkPersistence(with_.store), with_.bookmarks,
              SpotlightSearch(with_.index, with_.files, with_.types, with_.clock), idCache_, answer_),
      read_(BookmarkPersistence(with_.store), with_.bookmarks,
            DocumentExtractor(with_.reader, with_.types, with_.files), idCache_, answer_),
      listFolders_(BookmarkPersistence(with_.store), with_.bookmarks, with_.files, answer_),
      listDir_(BookmarkPersistence(with_.store), with_.bookmarks, with_.files, with_.types, idCache_, answer_),
      photos_(with_.photos, with_.clock), screen_(with_.workspace, with_.automations),
      openDocument_(shownDocuments(), with_.workspace, answer_),
      thumbnail_(shownDocuments(), with_.thumbnailer, with_.context),
      ocr_(BookmarkPersistence(with_.store), with_.bookmarks, OcrEngine(with_.recognizer, with_.files), idCache_),
      localLLM_(with_.http, with_.context, with_.telemetry, with_.clock) {}

ShownDocuments BridgeService::shownDocuments() const {
    return {BookmarkPersistence(with_.store), with_.bookmarks, idCache_};
}

void BridgeService::start(SecretText token) {
    if (token.isEmpty())
        return;
    if (pollTask_) {
        if (token_ == token)
            return;
        stop();
    }
    token_ = std::move(token);
    consecutiveFailures_ = 0;
    pollTask_ = jobs_.start(pollLoop(++loop_));
    setLastErrorMessage(std::nullopt);
    setStatus(Status::idle());
}

void BridgeService::stop() {
    pollTask_.cancel();
    pollTask_ = Job{};
    token_.reset();
    setStatus(Status::off());
}

Task<> BridgeService::pollLoop(quint64 loop) {
    const std::stop_token stop = co_await StopToken{};
    while (!stop.stop_requested() && hasToken()) {
        say(loop, Status::polling());
        APIService::BridgeHeaders headers = co_await deviceHeaders();
        const APIService api(with_.http, with_.config, token_, std::move(headers));
        Turn turn = co_await poll(api);
        if (turn.end == Turn::End::cancelled)
            break;
        if (turn.end == Turn::End::failed) {
            sayFailure(loop, turn.message);
            co_await pause(backOff(consecutiveFailures_));
            continue;
        }
        if (stop.stop_requested()) // a task that arrives now is left to run out of time
            continue;
        sayRecovered(loop);
        if (turn.end == Turn::End::timedOut)
            say(loop, Status::idle());
        if (turn.end == Turn::End::task)
            co_await serve(std::move(turn.task), api, loop);
    }
    if (loop != loop_)
        co_return;
    pollTask_ = Job{};
    setStatus(Status::off());
}

bool BridgeService::hasToken() const { return token_ && !token_->isEmpty(); }

Task<BridgeService::Turn> BridgeService::poll(APIService api) {
    try {
        std::optional<BridgeTask> task = co_await api.pollBridgeTask(pollWait);
        if (!task)
            co_return Turn{Turn::End::nothing, {}, {}};
        co_return Turn{Turn::End::task, *std::move(task), {}};
    } catch (const Cancelled&) {
        co_return Turn{Turn::End::cancelled, {}, {}};
    } catch (const std::exception& error) {
        const auto end = isExpectedPollTimeout(error) ? Turn::End::timedOut : Turn::End::failed;
        co_return Turn{end, {}, localizedDescription(error)};
    }
}

bool BridgeService::isExpectedPollTimeout(const std::exception& error) {
    const auto* transport = dynamic_cast<const TransportError*>(&error);
    return transport && transport->fault() == TransportFault::timedOut;
}

Task<> BridgeService::pause(std::chrono::nanoseconds duration) {
    try {
        co_await with_.clock.sleep(duration);
    } catch (const Cancelled&) { // NOLINT(bugprone-empty-catch): the head of the loop finds it
    }
}

Task<> BridgeService::serve(BridgeTask task, APIService api, quint64 loop) {
    const std::stop_token stop = co_await StopToken{};
    say(loop, Status::busy(task.kind));
    noteTask();
    try {
        co_await handle(std::move(task), std::move(api));
    } catch (const Cancelled&) { // NOLINT(bugprone-empty-catch): the head of the loop finds it
    }
    ++tasksServed_;
    Q_EMIT tasksServedChanged();
    if (!stop.stop_requested())
        say(loop, Status::idle());
}

Task<> BridgeService::handle(BridgeTask task, APIService api) {
    if (!co_await canHandle(task, api))
        co_return;
    if (const auto failure = co_await work(task, api))
        co_await TaskAnswer::error(std::move(api), task.id, *failure);
}

/// Runs the handler; the sentence of a failure that it didn't answer by itself.
Task<std::optional<QString>> BridgeService::work(BridgeTask task, APIService api) {
    const Dispatch dispatch{*this, task, api};
    try {
        Task<> handler = std::visit(dispatch, task.args);
        co_await handler;
        co_return std::nullopt;
    } catch (const Cancelled&) {
        throw;
    } catch (const std::exception& error) {
        co_return localizedDescription(error);
    }
}

Task<bool> BridgeService::canHandle(BridgeTask task, APIService api) {
    // Local inference stays within reach while the switch is off.
    if (task.kind == BridgeTaskKind::llmInfer || with_.context.bridgeEnabled())
        co_return true;
    co_await TaskAnswer::error(std::move(api), task.id,
                               localized("Le pont local est désactivé dans les Réglages du Mac."));
    co_return false;
}

Task<APIService::BridgeHeaders> BridgeService::deviceHeaders() {
    APIService::BridgeHeaders headers{
        {"X-Bridge-Device-Id", with_.context.bridgeDeviceId().toUtf8()},
        {"X-Bridge-Device-Nickname", with_.context.localLLMDeviceNickname().toUtf8()},
    };
    if (auto heartbeat = co_await encodeHeartbeat())
        headers.push_back({"X-Bridge-Heartbeat", *std::move(heartbeat)});
    co_return headers;
}

Task<std::optional<QByteArray>> BridgeService::encodeHeartbeat() {
    if (!with_.heartbeat)
        co_return std::nullopt;
    try {
        std::optional<QByteArray> text = co_await with_.heartbeat->encodedHeartbeat();
        if (!text || text->isEmpty() || !text->isValidUtf8())
            co_return std::nullopt;
        co_return text;
    } catch (const LocalizedError&) {
        co_return std::nullopt;
    }
}

void BridgeService::say(quint64 loop, const Status& status) {
    if (loop == loop_)
        setStatus(status);
}

void BridgeService::sayFailure(quint64 loop, const QString& message) {
    if (loop != loop_)
        return;
    ++consecutiveFailures_;
    setLastErrorMessage(message);
    say(loop, Status::error(message));
}

void BridgeService::sayRecovered(quint64 loop) {
    if (loop != loop_)
        return;
    consecutiveFailures_ = 0;
    setLastErrorMessage(std::nullopt);
}

void BridgeService::noteTask() {
    lastTaskAt_ = with_.clock.now();
    Q_EMIT lastTaskAtChanged();
}

void BridgeService::setStatus(const Status& status) {
    if (status_ == status)
        return;
    status_ = status;
    Q_EMIT statusChanged();
}

void BridgeService::setLastErrorMessage(const std::optional<QString>& message) {
    if (lastErrorMessage_ == message)
        return;
    lastErrorMessage_ = message;
    Q_EMIT lastErrorMessageChanged();
}

} // namespace vennic
