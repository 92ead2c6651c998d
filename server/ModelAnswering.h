#pragma once
#include "server/Answering.h"
#include "server/MachineTasks.h"
#include "server/ModelSource.h"

namespace vennic::server {

/// Answers by a model that may use the user's machine as its tools: rounds of text and tool calls, until one without
/// calls. A failure ends the answer in words for the user, behind what was said so far.
class ModelAnswering final : public Answering {
public:
    ModelAnswering(ModelSource& source, MachineTasks& tasks, TimeKeeper& time)
        : source_(source), tasks_(tasks), time_(time) {}
    std::shared_ptr<void> answer(const Question& question, Listener listener) override;

private:
    class Turning;
    ModelSource& source_;
    MachineTasks& tasks_;
    TimeKeeper& time_;
};

} // namespace vennic::server
