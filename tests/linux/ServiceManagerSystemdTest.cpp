#include "linux/ServiceManagerSystemd.h"

#include "base/LocalizedError.h"

#include <QDir>
#include <QFile>
#include <QProcess>
#include <QProcessEnvironment>
#include <QStandardPaths>
#include <QTemporaryDir>

#include <gtest/gtest.h>

using namespace vennic;

namespace {

const ServiceManagerSystemd manager(QStringLiteral("/usr/bin/systemctl"));

UserService serviceOf(const QString& home) {
    return {.label = QStringLiteral("com.vennic.local-llm"),
            .definitionFile = home + QStringLiteral("/.config/systemd/user/com.vennic.local-llm.service"),
            .arguments = {home + QStringLiteral("/.local/bin/mlx_lm.server"), QStringLiteral("--host"),
                          QStringLiteral("127.0.0.1"), QStringLiteral("--port"), QStringLiteral("8080")},
            .environment = {{QStringLiteral("PATH"), QStringLiteral("/usr/bin:/bin")}, {QStringLiteral("HOME"), home}},
            .logFile = home + QStringLiteral("/.vennic-local-llm/server.log")};
}

QByteArray definitionFor(const char* home) { return manager.definition(serviceOf(QString::fromUtf8(home))); }

/// The value of the first line that begins with `key`.
std::string valueOf(const QByteArray& unit, const QByteArray& key) {
    const qsizetype at = unit.indexOf('\n' + key);
    return at < 0 ? "absent"
                  : unit.mid(at + 1 + key.size(), unit.indexOf('\n', at + 1) - at - 1 - key.size()).toStdString();
}

} // namespace

TEST(ServiceManagerSystemd, writesTheUnitByteForByte) {
    EXPECT_EQ(definitionFor("/home/ada").toStdString(),
              R"(# Vennic écrit ce fichier et le remplace à chaque installation.
[Unit]
Description=Modèle local de Vennic
# Un arrêt par erreur est suivi d'un nouveau départ, aussi souvent qu'il le faut.
StartLimitIntervalSec=0

[Service]
Type=exec
ExecStart=:"/home/ada/.local/bin/mlx_lm.server" "--host" "127.0.0.1" "--port" "8080"
Environment="PATH=/usr/bin:/bin"
Environment="HOME=/home/ada"
Restart=on-failure
RestartSec=10
StandardOutput=append:/home/ada/.vennic-local-llm/server.log
StandardError=append:/home/ada/.vennic-local-llm/server.log
UMask=0077
LimitCORE=0
NoNewPrivileges=yes
LockPersonality=yes
RestrictRealtime=yes
RestrictSUIDSGID=yes
RestrictNamespaces=yes
RestrictAddressFamilies=AF_UNIX AF_INET AF_INET6 AF_NETLINK
SystemCallArchitectures=native
SystemCallFilter=~@clock @cpu-emulation @debug @module @mount @obsolete @raw-io @reboot @swap
SystemCallErrorNumber=EPERM

[Install]
WantedBy=default.target
)");
}

TEST(ServiceManagerSystemd, writesHomesWithBlanksAndSignsSoThatTheyAreReadAsTheyAre) {
    const QByteArray blank = definitionFor("/home/a b");
    EXPECT_EQ(valueOf(blank, "ExecStart="),
              R"(:"/home/a b/.local/bin/mlx_lm.server" "--host" "127.0.0.1" "--port" "8080")");
    EXPECT_EQ(valueOf(blank, "StandardOutput="), "append:/home/a b/.vennic-local-llm/server.log");

    const QByteArray percent = definitionFor("/home/a%hb%1");
    EXPECT_EQ(valueOf(percent, "ExecStart=").substr(0, 48), R"(:"/home/a%%hb%%1/.local/bin/mlx_lm.server" "--ho)");
    EXPECT_EQ(valueOf(percent, "Environment=\"HOME"), R"(=/home/a%%hb%%1")");
    EXPECT_EQ(valueOf(percent, "StandardError="), "append:/home/a%%hb%%1/.vennic-local-llm/server.log");

    // The colon before the program leaves variables alone.
    EXPECT_EQ(valueOf(definitionFor("/home/$HOME"), "ExecStart=").substr(0, 20), R"(:"/home/$HOME/.local)");
    EXPECT_EQ(valueOf(definitionFor("/home/é🙂;#"), "StandardOutput="),
              "append:/home/é🙂;#/.vennic-local-llm/server.log");
}

TEST(ServiceManagerSystemd, refusesByNameThePathsThatSystemdRefuses) {
    for (const char* home : {"/home/o'brien", "/home/a\"b", "/home/a\\b", "/home/a\nb", "/home/a\tb", "/home/a\x7f"}) {
        try {
            definitionFor(home);
            ADD_FAILURE() << home;
        } catch (const LocalizedError& error) {
            EXPECT_TRUE(error.errorDescription().contains(QStringLiteral("systemd ne l'accepte pas")));
            EXPECT_FALSE(error.errorDescription().contains(u'\n'));
        }
    }
    try {
        definitionFor("/home/o'brien");
    } catch (const LocalizedError& error) {
        EXPECT_EQ(error.errorDescription(),
                  QStringLiteral("Le chemin « /home/o'brien/.local/bin/mlx_lm.server » contient un guillemet, une "
                                 "apostrophe, une barre oblique inversée ou un caractère de contrôle : systemd ne "
                                 "l'accepte pas."));
    }
}

TEST(ServiceManagerSystemd, saysWhyAPathOfTheLogIsRefused) {
    UserService service = serviceOf(QStringLiteral("/home/ada"));
    const auto refusal = [&service](const char* log) {
        service.logFile = QString::fromUtf8(log);
        try {
            manager.definition(service);
        } catch (const LocalizedError& error) {
            return error.errorDescription();
        }
        return QStringLiteral("none");
    };
    EXPECT_EQ(
        refusal("/home/ada/100%1 "),
        QStringLiteral("Le chemin « /home/ada/100%1  » finit par un espace : systemd ne le lirait pas en entier."));
    EXPECT_EQ(refusal(""),
              QStringLiteral("Le chemin du serveur ou de son journal est vide : systemd ne l'accepte pas."));
    EXPECT_EQ(refusal("/home/ada/a\nRestart=no"),
              QStringLiteral("Le chemin « /home/ada/a\uFFFDRestart=no » contient un guillemet, une apostrophe, une "
                             "barre oblique inversée ou un caractère de contrôle : systemd ne l'accepte pas."));
}

TEST(ServiceManagerSystemd, quotesWhatIsNoPath) {
    UserService service = serviceOf(QStringLiteral("/home/ada"));
    service.arguments = {QStringLiteral("/bin/x"), QStringLiteral("a\"b\\c'd"), QStringLiteral("e\nf"),
                         QStringLiteral("100 %\u0085"), QString()};
    service.environment = {{QStringLiteral("A"), QStringLiteral("x\ny \"z\"")}};
    const QByteArray unit = manager.definition(service);
    EXPECT_EQ(valueOf(unit, "ExecStart="), R"(:"/bin/x" "a\"b\\c'd" "e\x0af" "100 %%\xc2\x85" "")");
    EXPECT_EQ(valueOf(unit, "Environment="), R"("A=x\x0ay \"z\"")");
}

TEST(ServiceManagerSystemd, loadsByItsFileAndSpeaksToTheUsersManager) {
    const UserService service = serviceOf(QStringLiteral("/home/a b"));
    const auto command = [](const QStringList& words) {
        return ProgramCommand{QStringLiteral("/usr/bin/systemctl"), QStringList{QStringLiteral("--user")} + words};
    };
    const QString unit = QStringLiteral("com.vennic.local-llm.service");
    EXPECT_EQ(manager.unload(service), command({QStringLiteral("stop"), unit}));
    EXPECT_EQ(manager.load(service),
              (std::vector<ProgramCommand>{
                  command({QStringLiteral("daemon-reload")}),
                  command({QStringLiteral("enable"), QStringLiteral("--now"), service.definitionFile})}));
    EXPECT_EQ(manager.restart(service), command({QStringLiteral("restart"), unit}));
}

TEST(ServiceManagerSystemd, isFoundOnThePathOrWhereMostSystemsHaveIt) {
    const QByteArray before = qgetenv("PATH");
    const QTemporaryDir folder;
    qputenv("PATH", QFile::encodeName(folder.path()));
    EXPECT_EQ(ServiceManagerSystemd::installedSystemctl(), QStringLiteral("/usr/bin/systemctl"));
    const QString own = folder.filePath(QStringLiteral("systemctl"));
    QFile file(own);
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    file.setPermissions(QFile::ReadOwner | QFile::ExeOwner);
    EXPECT_EQ(ServiceManagerSystemd::installedSystemctl(), own);
    qputenv("PATH", before);
}

TEST(ServiceManagerSystemd, writesUnitsThatSystemdFindsNothingWrongWith) {
    const QString analyze = QStandardPaths::findExecutable(QStringLiteral("systemd-analyze"));
    ASSERT_FALSE(analyze.isEmpty()) << "systemd-analyze is not installed";
    for (const char* name : {"ada", "a b", "a%hb", "a$HOME${HOME}", "é", "a;b#c", "@x", "-"}) {
        const QTemporaryDir folder;
        const QString home = folder.filePath(QString::fromUtf8(name));
        const UserService service = serviceOf(home);
        const QString program = service.arguments.first();
        for (const QString& path : {program, service.definitionFile, service.logFile})
            ASSERT_TRUE(QDir().mkpath(QFileInfo(path).path()));
        ASSERT_TRUE(QFile::copy(QStringLiteral("/bin/true"), program));
        QFile unit(service.definitionFile);
        ASSERT_TRUE(unit.open(QIODevice::WriteOnly));
        unit.write(manager.definition(service));
        unit.close();
        QProcess verify;
        verify.setProcessChannelMode(QProcess::MergedChannels);
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        environment.insert(QStringLiteral("XDG_RUNTIME_DIR"), folder.path()); // it asks for one, whoever runs it
        verify.setProcessEnvironment(environment);
        verify.start(analyze, {QStringLiteral("--user"), QStringLiteral("verify"), service.definitionFile});
        ASSERT_TRUE(verify.waitForFinished());
        const QByteArray words = verify.readAll();
        EXPECT_EQ(verify.exitCode(), 0) << name << ": " << words.toStdString();
        EXPECT_FALSE(words.contains("com.vennic.local-llm")) << name << ": " << words.toStdString();
    }
}
