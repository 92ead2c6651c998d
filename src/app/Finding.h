#pragma once
#include <QString>

namespace vennic {

enum class Verdict { good, limited, bad };

/// What a look at one thing has shown.
struct Finding {
    Verdict verdict = Verdict::good;
    QString words;
    QString remedy; // what to do about it; empty when all is well
};

} // namespace vennic
