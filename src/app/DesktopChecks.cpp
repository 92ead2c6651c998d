#include "app/DesktopChecks.h"

#include "app/Autostart.h"
#include "linux/WorkspaceGio.h"
#include "linux/desktop/TrayProbe.h"

namespace vennic {

Finding statusItemPlace() {
    switch (trayOfThisDesktop()) {
    case TrayKind::statusNotifier:
        return {Verdict::good, QStringLiteral("dans la barre d'état du bureau (StatusNotifierItem)"), {}};
    case TrayKind::embedding:
        return {Verdict::good, QStringLiteral("dans une barre d'icônes à l'ancienne (XEmbed)"), {}};
    case TrayKind::none:
        break;
    }
    return {Verdict::limited, QStringLiteral("aucune barre ne peut la montrer ici"),
            QStringLiteral("« vennic toggle » ouvre la fenêtre ; associe-lui une touche, ou ajoute une barre d'état au "
                           "bureau.")};
}

Finding startWithSession(const Paths& paths) {
    if (Autostart(paths.configuration, paths.client()).isOn())
        return {Verdict::good, QStringLiteral("activé"), {}};
    return {Verdict::good, QStringLiteral("désactivé (« vennic autostart on » l'active)"), {}};
}

Finding linkHandler() {
    const QString own = QStringLiteral("com.vennic.desktop.desktop");
    const QString handler = WorkspaceGio::defaultApplication("x-scheme-handler/vennic");
    if (handler == own)
        return {Verdict::good, QStringLiteral("ouverts par Vennic"), {}};
    if (handler.isEmpty())
        return {Verdict::limited, QStringLiteral("aucune application ne les ouvre"),
                QStringLiteral("Installe %1 parmi les applications, puis lance « update-desktop-database ».").arg(own)};
    return {Verdict::limited, QStringLiteral("ouverts par %1").arg(handler),
            QStringLiteral("Rends-les à Vennic : « xdg-mime default %1 x-scheme-handler/vennic ».").arg(own)};
}

} // namespace vennic
