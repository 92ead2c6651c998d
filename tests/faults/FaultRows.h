#pragma once
#include "support/Answers.h"

#include <functional>
#include <string>
#include <vector>

namespace vennic::test {

/// The calls of the request core.
enum class Call { poll, update, revoke, claim };

/// The request line's method and target that a call sends.
QByteArray methodOf(Call call);
QByteArray targetOf(Call call);
/// The body of a good answer.
QByteArray goodBody(Call call);

/// How each call ends under a fault, in the words of `FaultBackend::outcome`.
struct Outcomes {
    std::string poll;
    std::string update;
    std::string revoke;
    std::string claim;
    const std::string& of(Call call) const;
};

/// One thing that can go wrong.
struct Fault {
    std::string name;
    std::function<AnswerScript(Call)> script;
    Outcomes expected;
    Greeting greeting = Greeting::handshake;
    bool hurried = false;   // the call's time-out is made short, for it is what ends the call
    bool announced = false; // the session hears of a 401, but for the claim, which carries no token
};

/// Everything that can go wrong on the wire.
std::vector<Fault> wireFaults();
/// Everything that a broken or hostile server can say.
std::vector<Fault> hostileAnswers();

} // namespace vennic::test
