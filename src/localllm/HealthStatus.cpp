#include "localllm/HealthStatus.h"

#include "base/Localized.h"

namespace vennic {

QString HealthStatus::label() const {
    switch (state) {
    case Case::unknown:
        return localized("Non vérifié");
    case Case::checking:
        return localized("Vérification…");
    case Case::ok:
        return localized("Serveur en ligne");
    case Case::down:
        return localized("Hors ligne : ") + reason;
    }
    Q_UNREACHABLE();
}

} // namespace vennic
