#pragma once
#include "server/Answering.h"
#include "server/MachineTasks.h"

namespace vennic::server {

/// Answers plain requests without any model, by tasks of the user's machine: the whole road on a bare machine.
class SimpleAnswering final : public Answering {
public:
    explicit SimpleAnswering(MachineTasks& tasks, TimeKeeper& time) : tasks_(tasks), time_(time) {}
    std::shared_ptr<void> answer(const Question& question, Listener listener) override;

private:
    MachineTasks& tasks_;
    TimeKeeper& time_;
};

} // namespace vennic::server
