#pragma once
#include "base/LocalizedError.h"

namespace vennic {

/// No application answers to a name.
class ApplicationNotFound final : public LocalizedError {
public:
    explicit ApplicationNotFound(const QString& name)
        : LocalizedError(QStringLiteral("Aucune application nommée '") + name + QStringLiteral("' n'a été trouvée.")) {}
};

} // namespace vennic
