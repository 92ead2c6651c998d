#include "server/MachineTasks.h"

#include "server/Database.h"
#include "server/JsonText.h"

namespace vennic::server {

using namespace std::chrono_literals;

namespace {
constexpr auto undelivered = 60s; // until a machine that doesn't come is thought to be off
}

/// One task from its asking to its end.
struct MachineTasks::Asked {
    Asked() = default;
    Asked(const Asked&) = delete;
    Asked& operator=(const Asked&) = delete;
    ~Asked() {
        watch.reset();
        try {
            if (desk)
                desk->withdraw(id);
        } catch (const DatabaseError&) { // NOLINT(bugprone-empty-catch): it stays in the queue then
        }
    }
    TaskDesk* desk = nullptr; // with a task
    QString id;
    std::function<void(TaskOutcome)> then;
    std::function<void(const QString&)> streamed;
    std::shared_ptr<void> watch;
    TimeKeeper::Timer soon;

    void end(TaskOutcome outcome) {
        watch.reset();
        if (const auto told = std::exchange(then, nullptr))
            told(std::move(outcome));
    }
};

std::optional<DeviceKey> MachineTasks::machineOf(qint64 account) {
    std::optional<Machine> chosen;
    for (const Machine& machine : machines_.all(account)) {
        if (tasks_.isPolling(machine.key))
            return machine.key;
        if (!chosen || machine.lastSeenAt > chosen->lastSeenAt)
            chosen = machine;
    }
    return chosen ? std::optional(chosen->key) : std::nullopt;
}

TaskOutcome MachineTasks::outcomeOf(const TaskRecord& task) {
    if (task.state == TaskState::Done)
        return {jsonObject({task.result.constData(), static_cast<std::size_t>(task.result.size())}), {}};
    return {std::nullopt, task.errorMessage.value_or(QStringLiteral("La machine n'a pas répondu."))};
}

std::shared_ptr<void> MachineTasks::ask(qint64 account, const QString& kind, const QJsonObject& args,
                                        std::function<void(TaskOutcome)> then,
                                        std::function<void(const QString&)> streamed) {
    auto asked = std::make_shared<Asked>();
    asked->then = std::move(then);
    asked->streamed = std::move(streamed);
    const auto machine = machineOf(account);
    if (!machine) {
        asked->soon = time_.after(0ms, [state = asked.get()] {
            state->end({std::nullopt, QStringLiteral("Aucun Mac n'est encore appairé avec ce compte.")});
        });
        return asked;
    }
    const QString id = tasks_.submit(*machine, kind, jsonText(args)).id;
    asked->desk = &tasks_;
    asked->id = id;
    asked->soon = time_.after(undelivered, [state = asked.get()] { state->desk->withdraw(state->id); });
    asked->watch = tasks_.watch(id, [this, id, weak = std::weak_ptr(asked)](const QString* delta) {
        const auto state = weak.lock();
        if (!state)
            return;
        if (delta) {
            if (state->streamed)
                state->streamed(*delta);
            return;
        }
        const auto task = store_.find(id);
        if (task && isFinished(task->state))
            state->end(outcomeOf(*task));
    });
    return asked;
}

} // namespace vennic::server
