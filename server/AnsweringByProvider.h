#pragma once
#include "server/Answering.h"

namespace vennic::server {

/// Leads a question to the one who was asked: the provider "local" is the user's own machine.
class AnsweringByProvider final : public Answering {
public:
    AnsweringByProvider(std::unique_ptr<Answering> local, std::unique_ptr<Answering> others)
        : local_(std::move(local)), others_(std::move(others)) {}
    std::shared_ptr<void> answer(const Question& question, Listener listener) override {
        Answering& chosen = question.provider == QLatin1String("local") ? *local_ : *others_;
        return chosen.answer(question, std::move(listener));
    }

private:
    std::unique_ptr<Answering> local_;
    std::unique_ptr<Answering> others_;
};

} // namespace vennic::server
