#include "linux/ServiceManagerSystemd.h"

#include "base/Localized.h"
#include "base/LocalizedError.h"
#include "base/ShownText.h"

#include <QStandardPaths>

#include <algorithm>

namespace vennic {

namespace {

bool isControl(QChar c) { return c.category() == QChar::Other_Control; }

LocalizedError refusal(const char* sentence, const QString& path = {}) {
    return LocalizedError(localized(sentence).replace(QStringLiteral("%1"), drawableLine(path)));
}

/// `path`, unless it is one that systemd refuses for a program however it is written ("Executable name contains special
/// characters"), or that ends before its end where it stands unquoted.
QString tellable(const QString& path) {
    const auto isRefused = [](QChar c) { return c == u'"' || c == u'\'' || c == u'\\' || isControl(c); };
    if (path.isEmpty())
        throw refusal("Le chemin du serveur ou de son journal est vide : systemd ne l'accepte pas.");
    if (std::ranges::any_of(path, isRefused))
        throw refusal("Le chemin « %1 » contient un guillemet, une apostrophe, une barre oblique inversée ou un "
                      "caractère de contrôle : systemd ne l'accepte pas.",
                      path);
    if (path.back().isSpace())
        throw refusal("Le chemin « %1 » finit par un espace : systemd ne le lirait pas en entier.", path);
    return path;
}

/// A percent sign begins a specifier wherever a path or a variable stands.
QString withoutSpecifiers(QString text) { return text.replace(u'%', QStringLiteral("%%")); }

/// A word as systemd.syntax(7) quotes them.
QString quoted(const QString& word) {
    QString text;
    for (const QChar c : withoutSpecifiers(word)) {
        if (c == u'"' || c == u'\\')
            text += u'\\';
        if (!isControl(c)) {
            text += c;
            continue;
        }
        for (const char byte : QString(c).toUtf8()) // the escape names a byte
            text += QStringLiteral("\\x") + QString::fromLatin1(QByteArray(1, byte).toHex());
    }
    return u'"' + text + u'"';
}

QString unit(const UserService& service) { return service.label + QStringLiteral(".service"); }

} // namespace

QString ServiceManagerSystemd::installedSystemctl() {
    const QString found = QStandardPaths::findExecutable(QStringLiteral("systemctl"));
    return found.isEmpty() ? QStringLiteral("/usr/bin/systemctl") : found;
}

QByteArray ServiceManagerSystemd::definition(const UserService& service) const {
    QStringList words;
    for (const QString& argument : service.arguments)
        words.append(quoted(words.isEmpty() ? tellable(argument) : argument));
    QString environment;
    for (const auto& [name, value] : service.environment)
        environment += QStringLiteral("Environment=") + quoted(name + u'=' + value) + u'\n';
    const QString log = withoutSpecifiers(tellable(service.logFile));
    // By concatenation: a path may hold what `arg` would take for a place of its own.
    const QString text =
        QStringLiteral("# Vennic écrit ce fichier et le remplace à chaque installation.\n"
                       "[Unit]\n"
                       "Description=Modèle local de Vennic\n"
                       "# Un arrêt par erreur est suivi d'un nouveau départ, aussi souvent qu'il le faut.\n"
                       "StartLimitIntervalSec=0\n"
                       "\n"
                       "[Service]\n"
                       "Type=exec\n"
                       "ExecStart=:") + // the colon: no variables in what follows
        words.join(u' ') +
        u'\n' + environment +
        QStringLiteral("Restart=on-failure\n"
                       "RestartSec=10\n"
                       "StandardOutput=append:") +
        log + QStringLiteral("\nStandardError=append:") + log +
        // What a user's manager can enforce without privileges, and without namespaces, which not every system lets
        // its users make. Memory that is both written and run stays allowed: models are compiled as they are loaded.
        QStringLiteral("\n"
                       "UMask=0077\n"
                       "LimitCORE=0\n"
                       "NoNewPrivileges=yes\n"
                       "LockPersonality=yes\n"
                       "RestrictRealtime=yes\n"
                       "RestrictSUIDSGID=yes\n"
                       "RestrictNamespaces=yes\n"
                       "RestrictAddressFamilies=AF_UNIX AF_INET AF_INET6 AF_NETLINK\n"
                       "SystemCallArchitectures=native\n"
                       "SystemCallFilter=~@clock @cpu-emulation @debug @module @mount @obsolete @raw-io @reboot @swap\n"
                       "SystemCallErrorNumber=EPERM\n"
                       "\n"
                       "[Install]\n"
                       "WantedBy=default.target\n");
    return text.toUtf8();
}

ProgramCommand ServiceManagerSystemd::unload(const UserService& service) const {
    return command({QStringLiteral("stop"), unit(service)});
}

std::vector<ProgramCommand> ServiceManagerSystemd::load(const UserService& service) const {
    // By its path, so that the manager finds the file wherever it looks for units itself.
    return {command({QStringLiteral("daemon-reload")}),
            command({QStringLiteral("enable"), QStringLiteral("--now"), service.definitionFile})};
}

ProgramCommand ServiceManagerSystemd::restart(const UserService& service) const {
    return command({QStringLiteral("restart"), unit(service)});
}

ProgramCommand ServiceManagerSystemd::command(const QStringList& arguments) const {
    return {systemctl_, QStringList{QStringLiteral("--user")} + arguments};
}

} // namespace vennic
