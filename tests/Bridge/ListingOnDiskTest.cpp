#include "Bridge/EscapeWorld.h"

#include <QDir>
#include <QFile>
#include <QJsonArray>

#include <gtest/gtest.h>
#include <unistd.h>

using namespace vennic;
using namespace vennic::test;

namespace {

/// Without the rights of the administrator, who may look at everything.
class WithoutRights {
public:
    WithoutRights() { EXPECT_EQ(isRoot_ ? seteuid(65534) : 0, 0); }
    WithoutRights(const WithoutRights&) = delete;
    WithoutRights& operator=(const WithoutRights&) = delete;
    ~WithoutRights() { EXPECT_EQ(isRoot_ ? seteuid(0) : 0, 0); }

private:
    bool isRoot_ = geteuid() == 0;
};

struct ListingOnDiskTest : ::testing::Test {
    EscapeWorld world;
    QString id = uuidString(world.grant.id);

    QJsonObject listed(const char* subPath = "") {
        return world.answer(
            "list_dir", {{QStringLiteral("folder_id"), id}, {QStringLiteral("sub_path"), QString::fromUtf8(subPath)}});
    }
    static QByteArray text(const QJsonObject& object) { return QJsonDocument(object).toJson(QJsonDocument::Compact); }
};

} // namespace

TEST_F(ListingOnDiskTest, anEntryThatMayNotBeLookedAtIsAFileWithoutSizeAndDate) {
    const QString folder = world.at("grant/fermé");
    ASSERT_TRUE(QDir().mkdir(folder));
    QFile file(folder + QStringLiteral("/x.md"));
    ASSERT_TRUE(file.open(QIODevice::WriteOnly) && file.write("texte") == 5);
    file.close();
    constexpr auto forAll = QFile::ReadGroup | QFile::ExeGroup | QFile::ReadOther | QFile::ExeOther;
    for (const QString& above : {world.root(), world.at("grant")})
        QFile::setPermissions(above, QFile::permissions(above) | forAll);
    // Its names may be read, and nothing else of it.
    QFile::setPermissions(folder, QFile::ReadOwner | QFile::ReadGroup | QFile::ReadOther);
    QJsonObject answer;
    {
        const WithoutRights nobody;
        answer = listed("fermé");
    }
    QFile::setPermissions(folder, QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
    const QJsonObject item = answer.value(QLatin1String("result"))[QLatin1String("items")][0].toObject();
    const QByteArray handle = item[QLatin1String("id")].toString().toLatin1();
    EXPECT_EQ(handle.size(), 36) << text(answer).toStdString();
    EXPECT_EQ(text(answer),
              R"({"result":{"folder_id":")" + id.toLatin1() + R"(","items":[{"id":")" + handle +
                  R"(","mime":"text/markdown","name":"x.md","size":0,"sub_path":"fermé/x.md","type":"file"}],)"
                  R"("sub_path":"fermé"},"status":"done"})");
}

TEST_F(ListingOnDiskTest, aSharedFolderThatIsGoneSaysSoAndIsNotAmongTheFolders) {
    ASSERT_EQ(world.answer("list_folders", {})[QLatin1String("result")][QLatin1String("folders")].toArray().size(), 1);
    ASSERT_TRUE(QDir(world.at("grant")).removeRecursively());
    EXPECT_EQ(text(listed()),
              R"({"error_message":"Impossible de résoudre le bookmark (dossier déplacé ?).","status":"error"})");
    EXPECT_EQ(text(world.answer("list_folders", {})), R"({"result":{"folders":[]},"status":"done"})");
}

TEST_F(ListingOnDiskTest, aFolderMadeAnewInThePlaceOfTheSharedOneStandsForIt) {
    ASSERT_TRUE(QDir(world.at("grant")).removeRecursively());
    ASSERT_TRUE(QDir().mkdir(world.at("grant")));
    EXPECT_EQ(text(listed()),
              R"({"result":{"folder_id":")" + id.toLatin1() + R"(","items":[],"sub_path":""},"status":"done"})");
}
