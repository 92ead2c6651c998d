#include "backend/Deployment.h"

#include <QFile>
#include <QJsonDocument>
#include <QJsonObject>
#include <QTemporaryDir>

#include <gtest/gtest.h>

namespace vennic {
namespace {

QJsonObject good() {
    return {{QStringLiteral("backend_url"), QStringLiteral("https://api.vennic.test:8443")},
            {QStringLiteral("backend_domain"), QStringLiteral("vennic.test")},
            {QStringLiteral("api_host"), QStringLiteral("api.vennic.test")},
            {QStringLiteral("pairing_page"), QStringLiteral("https://www.vennic.test/appairage")},
            {QStringLiteral("package_manager_site"), QStringLiteral("https://brew.test/")}};
}

QByteArray bytes(const QJsonObject& object) { return QJsonDocument(object).toJson(); }

QString refusal(const QByteArray& json) {
    try {
        Deployment::parse(json);
    } catch (const DeploymentError& error) {
        return error.errorDescription();
    }
    return QStringLiteral("accepted");
}

QString refusal(const char* key, const QJsonValue& value) {
    QJsonObject object = good();
    object[QLatin1String(key)] = value;
    return refusal(bytes(object));
}

TEST(Deployment, aGoodFileIsTakenAsItStands) {
    const auto deployment = Deployment::parse(bytes(good()));
    EXPECT_EQ(deployment.backendUrl, QStringLiteral("https://api.vennic.test:8443"));
    EXPECT_EQ(deployment.backendDomain, QStringLiteral("vennic.test"));
    EXPECT_EQ(deployment.apiHost, QStringLiteral("api.vennic.test"));
    EXPECT_EQ(deployment.pairingPage, QStringLiteral("https://www.vennic.test/appairage"));
    EXPECT_EQ(deployment.packageManagerSite, QStringLiteral("https://brew.test/"));
}

TEST(Deployment, oneMachineCanBeBothDomainAndHost) {
    QJsonObject object = good();
    object[QStringLiteral("backend_url")] = QStringLiteral("https://127.0.0.1:4433");
    object[QStringLiteral("backend_domain")] = QStringLiteral("127.0.0.1");
    object[QStringLiteral("api_host")] = QStringLiteral("127.0.0.1");
    EXPECT_EQ(refusal(bytes(object)), QStringLiteral("accepted"));
}

TEST(Deployment, eachFieldMustBeATextThatIsNotEmpty) {
    for (const char* key : {"backend_url", "backend_domain", "api_host", "pairing_page", "package_manager_site"}) {
        QJsonObject without = good();
        without.remove(QLatin1String(key));
        EXPECT_TRUE(refusal(bytes(without)).contains(QLatin1String(key))) << key;
        EXPECT_TRUE(refusal(key, 5).contains(QStringLiteral("manque ou n'est pas un texte"))) << key;
        EXPECT_TRUE(refusal(key, QString(QStringLiteral(""))).contains(QStringLiteral("est vide"))) << key;
    }
}

TEST(Deployment, theBackendAddressIsHttpsWithoutPathQueryOrUser) {
    for (const char* url : {"http://api.vennic.test", "api.vennic.test", "https://", "https://u@api.vennic.test",
                            "https://api.vennic.test/", "https://api.vennic.test/x", "https://api.vennic.test?x",
                            "https://api.vennic.test#x", "https://api.vennic.test:99999", "https://api vennic.test"})
        EXPECT_TRUE(refusal("backend_url", QLatin1String(url)).contains(QStringLiteral("backend_url"))) << url;
}

TEST(Deployment, theBackendAddressMustLeadToThePinnedHost) {
    EXPECT_EQ(refusal("backend_url", QStringLiteral("https://other.vennic.test")),
              QStringLiteral("Réglages de déploiement : « backend_url » ne mène pas à l'hôte « api_host »."));
}

TEST(Deployment, thePinnedHostMustLieInsideTheDomain) {
    EXPECT_EQ(refusal("backend_domain", QStringLiteral("other.test")),
              QStringLiteral("Réglages de déploiement : « api_host » n'appartient pas à « backend_domain »."));
    EXPECT_NE(refusal("backend_domain", QStringLiteral("ennic.test")), QStringLiteral("accepted"));
}

TEST(Deployment, hostNamesAreLowerCaseAndBare) {
    for (const char* name :
         {"API.vennic.test", "api.vennic.test:443", "https://api.vennic.test", "a b", "api..test", "*"})
        EXPECT_TRUE(refusal("api_host", QLatin1String(name)).contains(QStringLiteral("nom d'hôte"))) << name;
}

TEST(Deployment, thePagesAreHttpsAddresses) {
    for (const char* key : {"pairing_page", "package_manager_site"})
        for (const char* url : {"http://x.test", "javascript:alert(1)", "file:///etc", "x"})
            EXPECT_TRUE(refusal(key, QLatin1String(url)).contains(QLatin1String(key))) << key << url;
}

TEST(Deployment, whatIsNoObjectIsRefused) {
    for (const char* json : {"", "[]", "nul", "{", "\"x\"", "\xff"})
        EXPECT_EQ(refusal(json), QStringLiteral("Réglages de déploiement : le fichier n'est pas un objet JSON."));
}

TEST(Deployment, aFileIsReadFromDisk) {
    QTemporaryDir folder;
    QFile file(folder.filePath(QStringLiteral("deployment.json")));
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    file.write(bytes(good()));
    file.close();
    EXPECT_EQ(Deployment::load(file.fileName()), Deployment::parse(bytes(good())));
}

TEST(Deployment, aMissingFileAndOneThatIsTooLargeAreNamed) {
    QTemporaryDir folder;
    const QString path = folder.filePath(QStringLiteral("deployment.json"));
    const auto failure = [](const QString& unreadable) {
        try {
            Deployment::load(unreadable);
            return QString();
        } catch (const DeploymentError& error) {
            return error.errorDescription();
        }
    };
    const QString words = QStringLiteral("Réglages de déploiement : impossible de lire %1 (%2).");
    EXPECT_EQ(failure(path), words.arg(path, QStringLiteral("fichier ou dossier introuvable")));
    EXPECT_EQ(failure(folder.path()), words.arg(folder.path(), QStringLiteral("c'est un dossier")));
    EXPECT_EQ(failure(path + QStringLiteral("/x")),
              words.arg(path + QStringLiteral("/x"), QStringLiteral("fichier ou dossier introuvable")));
    QFile file(path);
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    file.write(bytes(good()) + QByteArray(64 * 1024, ' '));
    file.close();
    try {
        Deployment::load(path);
        FAIL();
    } catch (const DeploymentError& error) {
        EXPECT_TRUE(error.errorDescription().contains(QStringLiteral("dépasse 64 Kio")));
    }
}

} // namespace
} // namespace vennic
