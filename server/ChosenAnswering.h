#pragma once
#include "server/AnswerChoice.h"
#include "server/MachineModel.h"
#include "server/ModelAnswering.h"
#include "server/SimpleAnswering.h"

namespace vennic::server {

class Loop;

/// Leads each question to who was chosen at that moment. An answer that is under way ends as it began.
class ChosenAnswering final : public Answering {
public:
    ChosenAnswering(MachineTasks& tasks, Loop& loop);
    ~ChosenAnswering() override;
    /// Raises LocalizedError for the owner's server without a good address; then nothing changes.
    void choose(const AnswerChoice& choice);
    const AnswerChoice& choice() const { return choice_; }
    /// What a client may choose from, as /providers.json tells it: whoever is chosen, it is this server that answers.
    QByteArray providers() const;
    std::shared_ptr<void> answer(const Question& question, Listener listener) override;

private:
    struct OwnersServer;
    MachineTasks& tasks_;
    Loop& loop_;
    AnswerChoice choice_;
    SimpleAnswering simple_;
    MachineModel machineModel_;
    ModelAnswering byMachine_;
    std::shared_ptr<OwnersServer> server_; // with Answerer::Server
};

} // namespace vennic::server
