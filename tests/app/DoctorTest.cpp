#include "app/Doctor.h"

#include "app/Autostart.h"
#include "app/ClientWorld.h"
#include "app/CommandLine.h"
#include "fakes/InstanceFake.h"
#include "support/MadeUpDesktop.h"

#include <QJsonArray>

using namespace vennic;

namespace {

struct DoctorTest : test::ClientWorld {
    DoctorTest() {
        deploy(R"({"backend_url":"https://api.vennic.test","backend_domain":"vennic.test",
        "api_host":"api.vennic.test","pairing_page":"https://vennic.test/p","package_manager_site":"https://p.test"})");
    }
    void deploy(const QByteArray& json) {
        QFile file(paths.resources + QStringLiteral("/deployment.json"));
        EXPECT_TRUE(file.open(QIODevice::WriteOnly));
        file.write(json);
    }
    QJsonObject check(const CommandAnswer& answer, const QString& name) {
        for (const auto& each : answer.data[QLatin1String("checks")].toArray()) {
            if (each[QLatin1String("name")] == name)
                return each.toObject();
        }
        return {};
    }
    QString verdict(const QString& name) {
        return check(examine(paths, instance), name)[QLatin1String("verdict")].toString();
    }

    test::InstanceFake instance;
};

} // namespace

TEST_F(DoctorTest, aSoundInstallationIsDoneAndEachCheckHasItsLine) {
    const CommandAnswer answer = examine(paths, instance);
    EXPECT_EQ(answer.status, ExitStatus::done) << answer.text.toStdString();
    const QJsonArray checks = answer.data[QLatin1String("checks")].toArray();
    EXPECT_EQ(checks.size(), 21);
    for (const auto& each : checks) {
        const QString line =
            QStringLiteral(" %1 : %2")
                .arg(each[QLatin1String("name")].toString(), each[QLatin1String("finding")].toString());
        EXPECT_TRUE(answer.text.contains(line)) << line.toStdString();
        if (each[QLatin1String("verdict")] != QLatin1String("ok")) {
            EXPECT_TRUE(answer.text.contains(QStringLiteral("    ") + each[QLatin1String("remedy")].toString()));
        }
    }
    EXPECT_EQ(check(answer, QStringLiteral("Réglages du déploiement"))[QLatin1String("finding")],
              QStringLiteral("https://api.vennic.test"));
    EXPECT_EQ(check(answer, QStringLiteral("Lecteur de documents"))[QLatin1String("verdict")], QStringLiteral("ok"));
}

TEST_F(DoctorTest, withoutDeploymentSettingsItFailsAndNamesTheFile) {
    ASSERT_TRUE(QFile::remove(paths.resources + QStringLiteral("/deployment.json")));
    const CommandAnswer answer = examine(paths, instance);
    EXPECT_EQ(answer.status, ExitStatus::failed);
    const QJsonObject found = check(answer, QStringLiteral("Réglages du déploiement"));
    EXPECT_EQ(found[QLatin1String("verdict")], QStringLiteral("bad"));
    EXPECT_TRUE(found[QLatin1String("finding")].toString().contains(QStringLiteral("deployment.json")));
}

TEST_F(DoctorTest, withoutAPinnedRootItFails) {
    ASSERT_TRUE(QFile::remove(paths.resources + QStringLiteral("/pinned-roots.pem")));
    const CommandAnswer answer = examine(paths, instance);
    EXPECT_EQ(answer.status, ExitStatus::failed);
    EXPECT_EQ(check(answer, QStringLiteral("Racines du serveur"))[QLatin1String("verdict")], QStringLiteral("bad"));
}

TEST_F(DoctorTest, withoutTheDocumentProcessItFailsAndSaysWhatToDo) {
    paths.programs = root.filePath(QStringLiteral("nulle-part"));
    const CommandAnswer answer = examine(paths, instance);
    EXPECT_EQ(answer.status, ExitStatus::failed);
    const QJsonObject found = check(answer, QStringLiteral("Lecteur de documents"));
    EXPECT_EQ(found[QLatin1String("verdict")], QStringLiteral("bad"));
    EXPECT_TRUE(found[QLatin1String("remedy")].toString().contains(QStringLiteral("vennic-worker")));
}

TEST_F(DoctorTest, theLanguagesOfRecognitionAreThoseOfTheFirstFolderThatHasAny) {
    const QByteArray empty = QFile::encodeName(folder(QStringLiteral("empty")));
    const QByteArray first = QFile::encodeName(folder(QStringLiteral("first")));
    const QByteArray second = QFile::encodeName(folder(QStringLiteral("second")));
    const std::array<const char*, 3> folders{empty.constData(), first.constData(), second.constData()};
    const auto found = [&] {
        return check(examine(paths, instance, folders), QStringLiteral("Reconnaissance de texte"));
    };
    const auto install = [&](const char* file) {
        EXPECT_TRUE(QFile(root.filePath(QLatin1String(file))).open(QIODevice::WriteOnly));
    };
    EXPECT_EQ(found()[QLatin1String("finding")], QStringLiteral("aucune langue n'est installée"));
    install("second/fra.traineddata");
    EXPECT_EQ(found()[QLatin1String("finding")], QStringLiteral("seulement en français"));
    EXPECT_EQ(found()[QLatin1String("remedy")], QStringLiteral("Installe tesseract-ocr-eng."));
    install("first/eng.traineddata");
    EXPECT_EQ(found()[QLatin1String("finding")], QStringLiteral("seulement en anglais"));
    EXPECT_EQ(found()[QLatin1String("remedy")], QStringLiteral("Installe tesseract-ocr-fra."));
    install("first/fra.traineddata");
    EXPECT_EQ(found()[QLatin1String("finding")], QStringLiteral("français, anglais"));
    EXPECT_EQ(found()[QLatin1String("verdict")], QStringLiteral("ok"));
}

TEST_F(DoctorTest, withoutBusesTheKeyringAndTheUsersPresenceAreLimitedNotMissing) {
    EXPECT_EQ(verdict(QStringLiteral("Trousseau")), QStringLiteral("limited"));
    EXPECT_EQ(verdict(QStringLiteral("Présence de l'utilisateur")), QStringLiteral("limited"));
}

TEST_F(DoctorTest, theRunningClientIsAskedAndItsSilenceIsAFault) {
    EXPECT_EQ(verdict(QStringLiteral("Client")), QStringLiteral("limited"));
    instance.answer = encodeCommandAnswer({});
    EXPECT_EQ(verdict(QStringLiteral("Client")), QStringLiteral("ok"));
    instance.silent = true;
    EXPECT_EQ(verdict(QStringLiteral("Client")), QStringLiteral("bad"));
}

TEST_F(DoctorTest, withoutTheProgramsForDialogsAndAutomationsTheRestStillWorks) {
    const QString whole = paths.programs;
    paths.programs = folder(QStringLiteral("programs"));
    for (const char* name : {"/vennic-worker", "/vennic-picture-worker"})
        ASSERT_TRUE(QFile::link(whole + QLatin1String(name), paths.programs + QLatin1String(name)));
    const CommandAnswer answer = examine(paths, instance);
    EXPECT_EQ(answer.status, ExitStatus::done);
    for (const auto& [name, program] :
         {std::pair(QStringLiteral("Dialogues"), QStringLiteral("vennic-dialog")),
          std::pair(QStringLiteral("Automatisations"), QStringLiteral("vennic-shortcuts"))}) {
        const QJsonObject found = check(answer, name);
        EXPECT_EQ(found[QLatin1String("verdict")], QStringLiteral("limited"));
        EXPECT_TRUE(found[QLatin1String("remedy")].toString().contains(program));
    }
    EXPECT_EQ(check(answer, QStringLiteral("Photos HEIC"))[QLatin1String("verdict")], QStringLiteral("ok"));
}

TEST_F(DoctorTest, aDialogProgramThatIsThereMustStartAndHaveAScreen) {
    qunsetenv("DISPLAY");
    qunsetenv("WAYLAND_DISPLAY");
    EXPECT_EQ(check(examine(paths, instance), QStringLiteral("Dialogues"))[QLatin1String("finding")],
              QStringLiteral("pas d'écran ici pour poser une question"));
    qputenv("DISPLAY", ":7");
    EXPECT_EQ(verdict(QStringLiteral("Dialogues")), QStringLiteral("ok"));
    paths.programs = folder(QStringLiteral("programs"));
    QFile broken(paths.dialogProgram());
    ASSERT_TRUE(broken.open(QIODevice::WriteOnly) && broken.write("#!/bin/sh\nexit 127\n") > 0);
    broken.setPermissions(QFile::ReadOwner | QFile::ExeOwner);
    broken.close();
    EXPECT_EQ(check(examine(paths, instance), QStringLiteral("Dialogues"))[QLatin1String("finding")],
              QStringLiteral("vennic-dialog ne démarre pas"));
}

TEST_F(DoctorTest, withoutThePictureProcessPhotosOfTelephonesAreSaidToBeUnreadable) {
    paths.programs = root.filePath(QStringLiteral("nulle-part"));
    EXPECT_EQ(verdict(QStringLiteral("Photos HEIC")), QStringLiteral("limited"));
}

TEST_F(DoctorTest, typesThatNoApplicationOpensAreNamed) {
    const test::MadeUpDesktop& desktop = test::MadeUpDesktop::shared();
    desktop.add("installed", "reader.desktop", "reader");
    const QString list = desktop.data("config") + QStringLiteral("/mimeapps.list");
    test::MadeUpDesktop::write(list, "[Default Applications]\napplication/pdf=reader.desktop\n"
                                     "text/plain=reader.desktop\nimage/jpeg=gone.desktop\n");
    EXPECT_EQ(check(examine(paths, instance), QStringLiteral("Ouverture des documents"))[QLatin1String("finding")],
              QStringLiteral("aucune application n'ouvre : photos"));
}

TEST_F(DoctorTest, typesThatHaveTheirApplicationsAreAllWell) {
    const test::MadeUpDesktop& desktop = test::MadeUpDesktop::shared();
    desktop.add("installed", "reader.desktop", "reader");
    const QString list = desktop.data("config") + QStringLiteral("/mimeapps.list");
    test::MadeUpDesktop::write(list, "[Default Applications]\napplication/pdf=reader.desktop\n"
                                     "text/plain=reader.desktop\nimage/jpeg=reader.desktop\n");
    EXPECT_EQ(verdict(QStringLiteral("Ouverture des documents")), QStringLiteral("ok"));
}

TEST_F(DoctorTest, aDesktopWithoutABarShowsNoIconAndSaysHowToDoWithout) {
    qunsetenv("DISPLAY");
    const QJsonObject found = check(examine(paths, instance), QStringLiteral("Icône d'état"));
    EXPECT_EQ(found[QLatin1String("verdict")], QStringLiteral("limited"));
    EXPECT_EQ(found[QLatin1String("finding")], QStringLiteral("aucune barre ne peut la montrer ici"));
    EXPECT_TRUE(found[QLatin1String("remedy")].toString().contains(QStringLiteral("vennic toggle")));
}

TEST_F(DoctorTest, theStartWithTheSessionIsToldEitherWay) {
    paths.configuration = folder(QStringLiteral("configuration"));
    const auto found = [&] {
        return check(examine(paths, instance), QStringLiteral("Démarrage avec la session"))
            .value(QLatin1String("finding"));
    };
    EXPECT_EQ(found(), QStringLiteral("désactivé (« vennic autostart on » l'active)"));
    Autostart(paths.configuration, paths.client()).turnOn();
    EXPECT_EQ(found(), QStringLiteral("activé"));
}

TEST_F(DoctorTest, theProgramThatOpensOurLinksIsNamed) {
    const test::MadeUpDesktop& desktop = test::MadeUpDesktop::shared();
    const QString list = desktop.data("config") + QStringLiteral("/mimeapps.list");
    const auto found = [&] { return check(examine(paths, instance), QStringLiteral("Liens vennic://")); };
    desktop.add("installed", "other.desktop", "other");
    desktop.add("installed", "com.vennic.desktop.desktop", "Vennic");
    for (const auto& [entry, verdict, words] :
         {std::tuple("gone.desktop", "limited", "aucune application ne les ouvre"),
          std::tuple("other.desktop", "limited", "ouverts par other.desktop"),
          std::tuple("com.vennic.desktop.desktop", "ok", "ouverts par Vennic")}) {
        test::MadeUpDesktop::write(list, QByteArray("[Default Applications]\nx-scheme-handler/vennic=") + entry + "\n");
        EXPECT_EQ(found()[QLatin1String("verdict")], QLatin1String(verdict));
        EXPECT_EQ(found()[QLatin1String("finding")], QString::fromUtf8(words));
    }
}

TEST_F(DoctorTest, theModelsServerIsToldAsTheClientSeesIt) {
    const auto found = [&](const QJsonObject& data) {
        CommandAnswer told;
        told.data = data;
        instance.answer = encodeCommandAnswer(told);
        return check(examine(paths, instance), QStringLiteral("Modèle local"));
    };
    EXPECT_EQ(verdict(QStringLiteral("Modèle local")), QStringLiteral("limited")) << "nobody runs";
    EXPECT_EQ(found({{QStringLiteral("enabled"), false}})[QLatin1String("verdict")], QStringLiteral("ok"));
    QJsonObject data{{QStringLiteral("enabled"), true}, {QStringLiteral("endpoint"), QStringLiteral("http://ici/v1")}};
    EXPECT_EQ(found(data)[QLatin1String("finding")], QStringLiteral("aucune réponse de http://ici/v1"));
    EXPECT_EQ(found(data)[QLatin1String("verdict")], QStringLiteral("limited"));
    data.insert(QStringLiteral("reachable"), true);
    data.insert(QStringLiteral("loaded_model"), QStringLiteral("a/b"));
    EXPECT_EQ(found(data)[QLatin1String("finding")], QStringLiteral("a/b"));
    EXPECT_EQ(found(data)[QLatin1String("verdict")], QStringLiteral("ok"));
    CommandAnswer refused;
    refused.status = ExitStatus::failed;
    refused.reason = QStringLiteral("Commande inconnue : model");
    instance.answer = encodeCommandAnswer(refused);
    for (const char* part : {"Modèle local", "Photos"}) {
        const QJsonObject told = check(examine(paths, instance), QString::fromUtf8(part));
        EXPECT_EQ(told[QLatin1String("finding")], refused.reason) << part;
        EXPECT_EQ(told[QLatin1String("verdict")], QStringLiteral("limited")) << part;
    }
}

TEST_F(DoctorTest, theServerIsCalledByOneName) {
    EXPECT_FALSE(examine(paths, instance).text.contains(QStringLiteral("backend"), Qt::CaseInsensitive));
    for (const Verb& verb : verbs()) {
        const QString help = helpText(QString(verb.name));
        EXPECT_FALSE(help.contains(QStringLiteral("backend"), Qt::CaseInsensitive)) << help.toStdString();
    }
}
