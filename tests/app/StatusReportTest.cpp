#include "app/StatusReport.h"

#include "app/ClientWorld.h"

using namespace vennic;

namespace {

struct StatusReportTest : test::ClientWorld {
    QJsonObject data(const std::vector<ResolvedShare>& shares = {}) { return statusData(client(), shares, localModel); }
    QJsonObject localModel;
    static QString line(const QString& text, const QString& label) {
        for (const QString& line : text.split(u'\n')) {
            if (line.startsWith(label + QStringLiteral(" : ")))
                return line.mid(label.size() + 3);
        }
        return QStringLiteral("no such line");
    }
    /// The data of a quiet client with some fields set otherwise.
    static QString textWith(const QJsonObject& changes) {
        QJsonObject data{{QStringLiteral("authenticated"), true},
                         {QStringLiteral("bridge"), QStringLiteral("polling")},
                         {QStringLiteral("bridge_enabled"), true}};
        for (auto change = changes.begin(); change != changes.end(); ++change)
            data.insert(change.key(), change.value());
        return statusText(data);
    }
    static QString indexLine(const QJsonObject& index) {
        return line(textWith({{QStringLiteral("index"), index}}), QStringLiteral("Index"));
    }
};

} // namespace

TEST_F(StatusReportTest, aFreshClientHasEveryPromisedField) {
    const QJsonObject status = data();
    for (const char* field : {"authenticated", "email", "user_id", "bridge_enabled", "bridge", "bridge_task",
                              "tasks_served", "last_error", "last_task_at", "device_id", "nickname", "shares", "index",
                              "credential_store", "local_model", "provider", "streaming", "messages", "discussion_id"})
        EXPECT_TRUE(status.contains(QLatin1String(field))) << field;
    EXPECT_EQ(status[QLatin1String("authenticated")], false);
    EXPECT_TRUE(status[QLatin1String("email")].isNull());
    EXPECT_TRUE(status[QLatin1String("last_task_at")].isNull());
    EXPECT_EQ(status[QLatin1String("bridge")], QStringLiteral("off"));
    EXPECT_EQ(status[QLatin1String("credential_store")], QStringLiteral("file"));
    EXPECT_EQ(status[QLatin1String("shares")].toArray(), QJsonArray());
}

TEST_F(StatusReportTest, whatTheAccountIsIsTold) {
    client().session().setToken(SecretText("t"));
    EXPECT_EQ(line(statusText(data()), QStringLiteral("Compte")), QStringLiteral("connecté"));
    client().session().setUserEmail(QStringLiteral("a@b.test"));
    EXPECT_EQ(data()[QLatin1String("email")], QStringLiteral("a@b.test"));
    EXPECT_EQ(line(statusText(data()), QStringLiteral("Compte")), QStringLiteral("a@b.test"));
    client().session().setToken(SecretText());
    EXPECT_EQ(line(statusText(data()), QStringLiteral("Compte")), QStringLiteral("non connecté"));
}

TEST_F(StatusReportTest, aLostFolderIsAmongTheSharesWithoutAPath) {
    const BookmarkEntry grant{
        QUuid(QStringLiteral("{0123abcd-0000-4000-8000-000000000000}")), {}, QStringLiteral("papiers"), {}};
    const QJsonArray shares = sharesData({{grant, FileURL{QStringLiteral("/a/papiers")}}, {grant, std::nullopt}});
    ASSERT_EQ(shares.size(), 2);
    EXPECT_EQ(shares[0].toObject(),
              (QJsonObject{{QStringLiteral("id"), grant.id.toString(QUuid::WithoutBraces).toUpper()},
                           {QStringLiteral("name"), QStringLiteral("papiers")},
                           {QStringLiteral("path"), QStringLiteral("/a/papiers")},
                           {QStringLiteral("found"), true}}));
    EXPECT_EQ(shares[1][QLatin1String("path")], QString());
    EXPECT_EQ(shares[1][QLatin1String("found")], false);
}

TEST_F(StatusReportTest, theBridgeIsToldInWords) {
    const auto bridge = [](const QJsonObject& changes) { return line(textWith(changes), QStringLiteral("Pont")); };
    EXPECT_EQ(bridge({}), QStringLiteral("en écoute"));
    EXPECT_EQ(bridge({{QStringLiteral("bridge"), QStringLiteral("off")}}), QStringLiteral("arrêté"));
    EXPECT_EQ(bridge({{QStringLiteral("bridge"), QStringLiteral("error")}}),
              QStringLiteral("en erreur, nouvel essai bientôt"));
    EXPECT_EQ(bridge({{QStringLiteral("bridge"), QStringLiteral("busy")},
                      {QStringLiteral("bridge_task"), QStringLiteral("read")}}),
              QStringLiteral("occupé (read)"));
    EXPECT_EQ(bridge({{QStringLiteral("bridge_enabled"), false}}),
              QStringLiteral("en écoute, désactivé pour les tâches (« vennic bridge on » l'active)"));
}

TEST_F(StatusReportTest, theIndexIsToldInWords) {
    const QJsonObject settled{
        {QStringLiteral("files"), 3}, {QStringLiteral("bytes"), 10}, {QStringLiteral("ready"), true}};
    EXPECT_TRUE(indexLine(settled).startsWith(QStringLiteral("3 éléments, 10 ")));
    QJsonObject index = settled;
    index[QLatin1String("ready")] = false;
    EXPECT_TRUE(indexLine(index).endsWith(QStringLiteral(", en cours de lecture")));
    index[QLatin1String("pending")] = 2;
    EXPECT_TRUE(indexLine(index).endsWith(QStringLiteral(", 2 encore à lire")));
    index = settled;
    index[QLatin1String("problem")] = QStringLiteral("Le disque est plein.");
    EXPECT_TRUE(indexLine(index).endsWith(QStringLiteral(" ; Le disque est plein.")));
}

TEST_F(StatusReportTest, theKeyringAndTheLastErrorAreTold) {
    const QString quiet = textWith({{QStringLiteral("credential_store"), QStringLiteral("secret-service")}});
    EXPECT_EQ(line(quiet, QStringLiteral("Trousseau")), QStringLiteral("trousseau de session"));
    EXPECT_EQ(line(quiet, QStringLiteral("Dernière erreur")), QStringLiteral("no such line"));
    const QString troubled = textWith({{QStringLiteral("credential_store"), QStringLiteral("file")},
                                       {QStringLiteral("last_error"), QStringLiteral("Délai dépassé.")}});
    EXPECT_EQ(line(troubled, QStringLiteral("Trousseau")),
              QStringLiteral("fichier protégé (aucun trousseau de session)"));
    EXPECT_EQ(line(troubled, QStringLiteral("Dernière erreur")), QStringLiteral("Délai dépassé."));
}
