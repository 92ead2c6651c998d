#include "server/TaskDesk.h"

#include "base/Identifier.h"
#include "server/HttpError.h"
#include "server/TaskKind.h"

#include <algorithm>

namespace vennic::server {

using namespace std::chrono_literals;

namespace {
constexpr qint64 mostUnfinished = 1000; // of one machine
constexpr qint64 keptTasks = 500;
constexpr qint64 keptBytes = 256LL * 1024 * 1024;
constexpr int pruningStep = 20;
constexpr qint64 pruningBytes = 32LL * 1024 * 1024; // of results, before the step is reached
constexpr qint64 longestStream = 16LL * 1024 * 1024;
constexpr qint64 mostDeltas = 250'000;
constexpr int mostDeliveries = 2;
constexpr int slowFactor = 10;
} // namespace

struct TaskDesk::Poll {
    quint64 number;
    qint64 token;
    std::function<void(PollEnd)> end;
    TimeKeeper::Timer limit;
};

/// One delivery on its way, or waiting for its answer.
struct TaskDesk::Flight {
    quint64 number = 0;
    std::optional<std::chrono::nanoseconds> sentAt; // absent after a restart
    bool written = false;
    TimeKeeper::Timer limit;
};

TaskDesk::TaskDesk(TaskStore& store, TimeKeeper& time, std::chrono::milliseconds taskTimeout)
    : store_(store), time_(time), taskTimeout_(taskTimeout) {
    // Answers may still come for what an earlier process delivered; its time runs on.
    for (const TaskRecord& task : store_.allUnanswered()) {
        const std::chrono::milliseconds passed{time_.wallMs() - task.lastSignAt.value_or(0)};
        flights_[task.id] = Flight{++lastNumber_, {}, true, {}};
        expect(task, std::clamp(patience(task) - passed, 0ms, patience(task)));
    }
}

TaskDesk::~TaskDesk() = default;

TaskRecord TaskDesk::submit(const DeviceKey& key, const QString& kind, const QByteArray& args) {
    if (store_.countUnfinished(key) >= mostUnfinished) {
        HttpError error(429, QStringLiteral("Trop de tâches attendent déjà cette machine."));
        error.retryAfterSeconds = 60;
        throw error;
    }
    TaskRecord task;
    task.id = newIdentifier();
    task.key = key;
    task.kind = kind;
    task.args = args;
    task.createdAt = time_.wallMs();
    store_.insert(task);
    offer(key);
    return store_.find(task.id).value_or(task);
}

quint64 TaskDesk::poll(const DeviceKey& key, qint64 token, std::chrono::milliseconds wait,
                       std::function<void(PollEnd)> end) {
    endPoll(key, {});
    resolveUnanswered(key);
    const quint64 number = ++lastNumber_;
    polls_[key] = std::make_unique<Poll>(
        Poll{number, token, std::move(end), time_.after(wait, [this, key] { endPoll(key, {}); })});
    offer(key);
    return number;
}

void TaskDesk::abandon(quint64 poll) {
    std::erase_if(polls_, [poll](const auto& each) { return each.second->number == poll; });
}

void TaskDesk::resolveUnanswered(const DeviceKey& key) {
    for (TaskRecord task : store_.unanswered(key)) {
        const auto flight = flights_.find(task.id);
        const bool unsent = flight != flights_.end() && !flight->second.written;
        if (unsent || (isRepeatable(task.kind) && task.deliveries < mostDeliveries)) {
            flights_.erase(task.id);
            task.state = TaskState::Queued;
            store_.update(task);
            if (task.streamCount > 0)
                store_.forgetDeltas(task);
        } else {
            task.errorMessage = QStringLiteral("La machine a demandé la tâche suivante sans répondre à celle-ci.");
            finish(std::move(task), TaskState::Timeout);
        }
    }
}

void TaskDesk::offer(const DeviceKey& key) {
    if (!polls_.contains(key))
        return;
    if (auto task = store_.oldestQueued(key))
        deliver(std::move(*task));
}

void TaskDesk::deliver(TaskRecord task) {
    const qint64 now = time_.wallMs();
    task.state = TaskState::Delivered;
    ++task.deliveries;
    task.deliveredAt = now;
    task.lastSignAt = now;
    store_.update(task);
    const quint64 number = ++lastNumber_;
    flights_[task.id] = Flight{number, time_.elapsed(), false, {}};
    expect(task, patience(task));
    const DeviceKey key = task.key;
    const QString id = task.id;
    PollEnd end{PollEnd::Why::Task, std::move(task), [this, id, number](bool sent) { written(id, number, sent); }};
    endPoll(key, std::move(end));
    tell(id, nullptr);
}

void TaskDesk::written(const QString& id, quint64 flight, bool sent) {
    const auto found = flights_.find(id);
    if (found == flights_.end() || found->second.number != flight)
        return;
    found->second.written = true;
    if (sent) {
        found->second.sentAt = time_.elapsed();
        return;
    }
    flights_.erase(found);
    auto task = store_.find(id);
    if (!task || task->state != TaskState::Delivered)
        return;
    // It never left this machine: this delivery doesn't count.
    task->state = TaskState::Queued;
    --task->deliveries;
    store_.update(*task);
    tell(id, nullptr);
    offer(task->key);
}

TaskRecord TaskDesk::deliveredTask(const DeviceKey& key, const QString& id) {
    auto task = store_.find(id);
    if (!task || task->key.account != key.account)
        throw HttpError(404, QStringLiteral("Cette tâche n'existe pas."));
    if (task->key.device != key.device)
        throw HttpError(403, QStringLiteral("Cette tâche est celle d'une autre machine."));
    if (isFinished(task->state))
        throw HttpError(409, QStringLiteral("Cette tâche est déjà terminée."));
    if (task->deliveries == 0)
        throw HttpError(409, QStringLiteral("Cette tâche n'a pas encore été remise."));
    return *std::move(task);
}

void TaskDesk::streamed(const DeviceKey& key, const QString& id, const QString& delta) {
    TaskRecord task = deliveredTask(key, id);
    // What came before this piece was forgotten with the delivery, and nobody would wait for the rest.
    if (task.state == TaskState::Queued)
        throw HttpError(409, QStringLiteral("Cette tâche attend d'être remise à nouveau."));
    if (task.streamBytes + delta.toUtf8().size() > longestStream || task.streamCount >= mostDeltas)
        throw HttpError(413, QStringLiteral("Cette tâche a déjà envoyé trop de texte."));
    task.state = TaskState::Streaming;
    task.lastSignAt = time_.wallMs();
    if (!delta.isEmpty())
        store_.appendDelta(task, delta);
    else
        store_.update(task);
    expect(task, patience(task));
    tell(id, &delta);
}

void TaskDesk::succeeded(const DeviceKey& key, const QString& id, const QByteArray& result,
                         std::chrono::nanoseconds arrived) {
    TaskRecord task = deliveredTask(key, id);
    task.result = result;
    answered(std::move(task), TaskState::Done, arrived);
}

void TaskDesk::failed(const DeviceKey& key, const QString& id, const QString& message,
                      std::chrono::nanoseconds arrived) {
    TaskRecord task = deliveredTask(key, id);
    task.errorMessage = message;
    answered(std::move(task), TaskState::Error, arrived);
}

void TaskDesk::answered(TaskRecord task, TaskState state, std::chrono::nanoseconds arrived) {
    const qint64 now = time_.wallMs();
    task.answeredAt = now;
    const auto flight = flights_.find(task.id);
    const auto sentAt = flight != flights_.end() ? flight->second.sentAt : std::nullopt;
    if (sentAt) {
        const std::chrono::duration<double, std::milli> took = arrived - *sentAt;
        task.handledMs = std::max(took.count(), 0.0);
    } else if (task.deliveredAt) {
        task.handledMs = static_cast<double>(now - *task.deliveredAt);
    }
    finish(std::move(task), state);
}

void TaskDesk::finish(TaskRecord task, TaskState state) {
    task.state = state;
    store_.update(task);
    flights_.erase(task.id);
    bytesSincePruning_ += task.result.size();
    if (++finishedSincePruning_ >= pruningStep || bytesSincePruning_ >= pruningBytes) {
        finishedSincePruning_ = 0;
        bytesSincePruning_ = 0;
        store_.prune(task.key.account, keptTasks, keptBytes);
    }
    tell(task.id, nullptr);
}

std::chrono::milliseconds TaskDesk::patience(const TaskRecord& task) const {
    // Once it has begun to stream, a long silence is an end.
    const bool slow = isSlow(task.kind) && task.state != TaskState::Streaming;
    return slow ? taskTimeout_ * slowFactor : taskTimeout_;
}

void TaskDesk::expect(const TaskRecord& task, std::chrono::milliseconds limit) {
    if (const auto flight = flights_.find(task.id); flight != flights_.end())
        flight->second.limit = time_.after(limit, [this, id = task.id] { expired(id); });
}

void TaskDesk::expired(const QString& id) {
    auto task = store_.find(id);
    if (!task || isFinished(task->state) || task->state == TaskState::Queued)
        return;
    task->errorMessage = QStringLiteral("La machine n'a pas répondu à temps.");
    finish(*std::move(task), TaskState::Timeout);
}

void TaskDesk::withdraw(const QString& id) {
    auto task = store_.find(id);
    if (!task || task->state != TaskState::Queued)
        return;
    task->errorMessage = QStringLiteral("La machine n'était pas connectée.");
    finish(*std::move(task), TaskState::Timeout);
}

void TaskDesk::dismiss(const DeviceKey& key) {
    endPoll(key, {PollEnd::Why::Revoked, {}, {}});
    for (TaskRecord task : store_.unfinished(key)) {
        task.errorMessage = QStringLiteral("La machine a été retirée.");
        finish(std::move(task), TaskState::Error);
    }
}

void TaskDesk::endPolls(qint64 token) {
    std::vector<DeviceKey> keys;
    for (const auto& [key, poll] : polls_) {
        if (poll->token == token)
            keys.push_back(key);
    }
    for (const DeviceKey& key : keys)
        endPoll(key, {PollEnd::Why::Revoked, {}, {}});
}

void TaskDesk::endAllPolls() {
    while (!polls_.empty())
        endPoll(DeviceKey(polls_.begin()->first), {});
}

void TaskDesk::endPoll(const DeviceKey& key, PollEnd end) {
    auto node = polls_.extract(key);
    if (!node.empty())
        node.mapped()->end(std::move(end));
}

std::shared_ptr<void> TaskDesk::watch(const QString& id, Watcher watcher) {
    std::erase_if(watchers_, [](const auto& each) { return each.second.expired(); });
    auto kept = std::make_shared<Watcher>(std::move(watcher));
    watchers_.emplace(id, kept);
    return kept;
}

void TaskDesk::tell(const QString& id, const QString* delta) {
    std::vector<std::shared_ptr<Watcher>> listening;
    for (auto [each, last] = watchers_.equal_range(id); each != last; ++each) {
        if (auto alive = each->second.lock())
            listening.push_back(std::move(alive));
    }
    for (const auto& watcher : listening)
        (*watcher)(delta);
}

} // namespace vennic::server
