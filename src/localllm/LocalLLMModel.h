#pragma once
#include "base/ShownText.h"

#include <QHashFunctions>
#include <QString>

namespace vennic {

inline constexpr qsizetype longestModelId = 512; // UTF-16 code units
/// Whether a text can be the identifier of a model, which is a repository's name or a path: not empty, one drawable
/// line and no longer than a path would be.
inline bool isModelId(const QString& text) {
    return !text.isEmpty() && text.size() <= longestModelId && drawableLine(text) == text;
}

/// A model that can be served on this machine.
struct LocalLLMModel {
    QString id;          // the repository's identifier, which is also the name that the server is asked for
    QString displayName; // for menus
    double sizeGB = 0;   // of the weights on disk
    double ramGB = 0;    // that running it takes
    qint64 approxTokensPerSec = 0;
    QString description; // one line
    QString familyTag;   // who made it, or its family
    bool operator==(const LocalLLMModel&) const = default;
};

inline size_t qHash(const LocalLLMModel& model, size_t seed = 0) {
    return qHashMulti(seed, model.id, model.displayName, model.sizeGB, model.ramGB, model.approxTokensPerSec,
                      model.description, model.familyTag);
}

} // namespace vennic
