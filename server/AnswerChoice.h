#pragma once
#include "base/SecretText.h"

#include <QString>

namespace vennic::server {

/// Who answers the questions of an account.
enum class Answerer {
    Simple,  // the server itself, by plain rules
    Server,  // the owner's OpenAI-compatible server
    Machine, // the model of the account's own machine
};

/// The owner's choice of who answers. The last three are of the owner's server, and kept while another answers.
struct AnswerChoice {
    Answerer who = Answerer::Simple;
    QString url;    // such as "https://api.example.org/v1"
    QString model;  // may be empty
    SecretText key; // may be empty
    bool operator==(const AnswerChoice&) const = default;
};

} // namespace vennic::server
