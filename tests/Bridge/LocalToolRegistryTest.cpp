#include "Bridge/LocalToolRegistry.h"

#include "Bridge/LocalToolWorld.h"

namespace vennic::test {
namespace {

struct LocalToolRegistryTest : testing::Test {
    LocalToolWorld world;
};

TEST_F(LocalToolRegistryTest, aToolThatDoesNotExistIsNamedBack) {
    EXPECT_EQ(world.run("danse"), QStringLiteral("Unknown tool: danse"));
    EXPECT_EQ(world.run(""), QStringLiteral("Unknown tool: "));
    EXPECT_EQ(world.run("Open_App"), QStringLiteral("Unknown tool: Open_App"));
    EXPECT_EQ(world.runRaw("danse", QStringLiteral("pas du JSON")), QStringLiteral("Unknown tool: danse"));
}

TEST_F(LocalToolRegistryTest, everyToolThatIsDescribedExists) {
    for (const auto& schema : LocalToolRegistry::schemas()) {
        const QString name = schema[QLatin1String("function")][QLatin1String("name")].toString();
        const QString text = world.run(name.toUtf8().constData());
        EXPECT_FALSE(text.startsWith(QStringLiteral("Unknown tool: "))) << name.toStdString();
    }
}

TEST_F(LocalToolRegistryTest, aHandleOfATaskAndOneOfAToolAreTheSameThing) {
    world.share(QStringLiteral("/d"));
    world.files->addFile(QStringLiteral("/d/a.txt"), 1);
    world.reader->documents[QStringLiteral("/d/a.txt")] = QStringLiteral("Bonjour");
    world.service->idCache().put(QStringLiteral("A"), FileURL{QStringLiteral("/d/a.txt")});
    EXPECT_EQ(world.run("read_local_document", {{QStringLiteral("document_id"), QStringLiteral("A")}}),
              QStringLiteral("Bonjour"));
}

TEST_F(LocalToolRegistryTest, argumentsOfAnyDepthAndSizeAreTakenAsTextThatMayBeNoJson) {
    const QString deep = QString(100'000, u'[') + QString(100'000, u']');
    const auto ofSize = [](qsizetype size) {
        return QStringLiteral(R"({"name":"%1"})").arg(QString(size - QStringView(u"{\"name\":\"\"}").size(), u'x'));
    };
    const QString half = QStringLiteral(R"({"name":"\ud800"})");
    EXPECT_EQ(world.runRaw("open_app", deep), QStringLiteral("Missing app name."));
    EXPECT_TRUE(world.runRaw("open_app", ofSize(65'536)).startsWith(QStringLiteral("Aucune application nommée 'xxx")));
    EXPECT_EQ(world.runRaw("open_app", ofSize(65'537)), QStringLiteral("Missing app name.")) << "too long to be read";
    EXPECT_TRUE(world.runRaw("open_app", half).startsWith(QStringLiteral("Aucune application nommée '")));
    EXPECT_EQ(world.runRaw("open_app", QString(QChar(0xd800))), QStringLiteral("Missing app name."));
    EXPECT_EQ(world.runRaw("open_app", QStringLiteral(R"({"name":"a","name":""})")),
              QStringLiteral("Missing app name."))
        << "of two values the last counts";
}

} // namespace
} // namespace vennic::test
