#pragma once
#include <QString>

namespace vennic {

/// How a turn of the conversation ended: the answer, or the sentence of the failure.
struct TurnEnd {
    bool failed = false;
    QString text;
    bool operator==(const TurnEnd&) const = default;
};

} // namespace vennic
