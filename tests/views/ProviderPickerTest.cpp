#include "backend/ProviderPicker.h"

#include "core/SessionFixture.h"
#include "support/TestClock.h"

#include <QThread>

#include <atomic>

namespace vennic {
namespace {

using Item = ProviderPicker::Item;

const QByteArray twoProviders = R"([
  {"id":1,"slug":"mistral","name":"mistral-ai","display_name":"Mistral","models":[
    {"id":1,"slug":"large","display_name":"Large"},{"id":2,"slug":"picture","kind":"image"},
    {"id":3,"slug":"old","status":"retired"},{"id":4,"slug":"small"}]},
  {"id":2,"slug":"anthropic","name":"Anthropic","models":[{"id":5,"slug":"opus","display_name":"Opus"},
    {"id":6,"slug":"large","display_name":"Other large"}]},
  {"id":3,"slug":"empty","name":"Empty","models":[]}])";

/// What is downloaded. Read on the pool, perhaps after a test.
struct Disk {
    QSet<QString> ids;
    QThread* const main = QThread::currentThread();
    std::atomic<int> readings = 0;
    std::atomic<bool> readOnMain = false; // once
    QSet<QString> read() {
        if (QThread::currentThread() == main)
            readOnMain = true;
        ++readings;
        return ids;
    }
};

struct ProviderPickerTest : test::SessionFixture {
    test::TestClock clock;
    CloudCatalog catalog{http, config, clock};
    std::shared_ptr<Disk> disk = std::make_shared<Disk>();
    int managed = 0;
    std::unique_ptr<ProviderPicker> own;

    ProviderPicker& picker() {
        if (!own)
            own = std::make_unique<ProviderPicker>(ProviderPicker::Surroundings{
                session(), catalog, [disk = disk] { return disk->read(); }, [this] { ++managed; }});
        return *own;
    }
    /// What is on the disk when the picker appears.
    void onDisk(const QSet<QString>& ids) {
        disk->ids = ids;
        bool told = false;
        const auto telling = QObject::connect(&picker(), &ProviderPicker::sectionsChanged, [&told] { told = true; });
        picker().appear();
        EXPECT_TRUE(test::waitUntil([&told] { return told; }));
        QObject::disconnect(telling);
    }
    void fill() {
        transport.answerWith(200, twoProviders);
        test::await(catalog.refresh());
    }
    QStringList menu() {
        QStringList lines;
        for (const auto& section : picker().sections()) {
            lines.append(QLatin1Char('[') + section.title + QLatin1Char(']'));
            for (const Item& item : section.items)
                lines.append((item.current ? QStringLiteral("*") : QString()) + item.title);
        }
        return lines;
    }
    Item item(const QString& title) {
        for (const auto& section : picker().sections())
            for (const Item& item : section.items)
                if (item.title == title)
                    return item;
        ADD_FAILURE() << "no item " << title.toStdString();
        return {};
    }
};

TEST_F(ProviderPickerTest, withoutACatalogTheFixedProvidersAreOffered) {
    EXPECT_EQ(menu(),
              (QStringList{QStringLiteral("[]"), QStringLiteral("*ChatGPT"), QStringLiteral("Claude"),
                           QStringLiteral("Gemini"), QStringLiteral("[Self-Hosted]"),
                           QStringLiteral("Self-Hosted (défaut du Mac)"), QStringLiteral("Gérer les modèles…")}));
    EXPECT_EQ(item(QStringLiteral("Claude")).icon, QStringLiteral("a.circle"));
}

TEST_F(ProviderPickerTest, aFixedProviderEmptiesTheCloudModelAlone) {
    session().setSelectedCloudModel(QStringLiteral("old"));
    session().setSelectedLocalModel(QStringLiteral("kept"));
    picker().choose(item(QStringLiteral("Gemini")));
    EXPECT_EQ(session().provider(), Provider::gemini);
    EXPECT_EQ(session().selectedCloudModel(), QString());
    EXPECT_EQ(session().selectedLocalModel(), QStringLiteral("kept"));
}

TEST_F(ProviderPickerTest, theCatalogsActiveChatModelsAreOfferedByProvider) {
    fill();
    EXPECT_EQ(menu().mid(0, 6),
              (QStringList{QStringLiteral("[Mistral]"), QStringLiteral("Large"), QStringLiteral("small"),
                           QStringLiteral("[Anthropic]"), QStringLiteral("Opus"), QStringLiteral("Other large")}));
    EXPECT_EQ(menu().at(6), QStringLiteral("[Self-Hosted]")) << "a provider without an offer has no section";
    EXPECT_EQ(item(QStringLiteral("Large")).icon, QStringLiteral("m.circle"));
}

TEST_F(ProviderPickerTest, ofACatalogWithoutEndTheBeginningIsOffered) {
    QByteArray models;
    for (int id = 0; id < 5000; ++id)
        models +=
            (id ? "," : "") + (R"({"id":)" + QByteArray::number(id) + R"(,"slug":"m)" + QByteArray::number(id) + "\"}");
    transport.answerWith(200, R"([{"id":1,"slug":"a","name":"A","models":[)" + models +
                                  R"(]},{"id":2,"slug":"b","name":"B","models":[{"id":1,"slug":"b1"}]}])");
    test::await(catalog.refresh());
    const auto sections = picker().sections();
    ASSERT_EQ(sections.size(), 2u);
    EXPECT_EQ(sections[0].items.size(), 200u);
    EXPECT_EQ(sections[1].title, QStringLiteral("Self-Hosted"));
}

TEST_F(ProviderPickerTest, aCatalogModelSetsProviderAndModel) {
    fill();
    session().setSelectedLocalModel(QStringLiteral("kept"));
    picker().choose(item(QStringLiteral("Opus")));
    EXPECT_EQ(session().provider(), Provider::anthropic);
    EXPECT_EQ(session().selectedCloudModel(), QStringLiteral("opus"));
    EXPECT_EQ(session().selectedLocalModel(), QStringLiteral("kept"));
    EXPECT_TRUE(item(QStringLiteral("Opus")).current);
}

TEST_F(ProviderPickerTest, aProviderThatNobodyKnowsAnswersAsOpenai) {
    fill();
    session().setProvider(Provider::local);
    picker().choose(item(QStringLiteral("small")));
    EXPECT_EQ(session().provider(), Provider::openai);
    EXPECT_EQ(session().selectedCloudModel(), QStringLiteral("small"));
}

TEST_F(ProviderPickerTest, downloadedModelsAreOfferedInOrderWithWhatIsKnownOfThem) {
    onDisk({QStringLiteral("z/Unknown"), QStringLiteral("Qwen/Qwen3-14B-MLX-4bit"), QStringLiteral("a/b/Other")});
    const auto local = picker().sections().back();
    ASSERT_EQ(local.items.size(), 5u);
    EXPECT_EQ(local.items[1].title, QStringLiteral("Qwen3 14B"));
    EXPECT_EQ(local.items[1].subtitle, QStringLiteral("8.0 GB · 14 tok/s"));
    EXPECT_EQ(local.items[2].title, QStringLiteral("Other"));
    EXPECT_EQ(local.items[2].subtitle, QString());
    EXPECT_EQ(local.items[3].title, QStringLiteral("Unknown"));
}

TEST_F(ProviderPickerTest, aLocalModelLeavesTheCloudModelAlone) {
    onDisk({QStringLiteral("z/Unknown")});
    session().setSelectedCloudModel(QStringLiteral("kept"));
    picker().choose(item(QStringLiteral("Unknown")));
    EXPECT_EQ(session().provider(), Provider::local);
    EXPECT_EQ(session().selectedLocalModel(), QStringLiteral("z/Unknown"));
    EXPECT_EQ(session().selectedCloudModel(), QStringLiteral("kept"));
    picker().choose(item(QStringLiteral("Self-Hosted (défaut du Mac)")));
    EXPECT_EQ(session().selectedLocalModel(), QString());
    EXPECT_TRUE(item(QStringLiteral("Self-Hosted (défaut du Mac)")).current);
}

TEST_F(ProviderPickerTest, theModelsAreManagedElsewhere) {
    picker().choose(item(QStringLiteral("Gérer les modèles…")));
    EXPECT_EQ(managed, 1);
}

TEST_F(ProviderPickerTest, thePillNamesTheChoice) {
    fill();
    EXPECT_EQ(picker().pillLabel(), QStringLiteral("ChatGPT"));
    EXPECT_EQ(picker().pillIcon(), QStringLiteral("sparkles"));
    session().setSelectedCloudModel(QStringLiteral("large"));
    EXPECT_EQ(picker().pillLabel(), QStringLiteral("Large")) << "the first of that slug";
    session().setSelectedCloudModel(QStringLiteral("old"));
    EXPECT_EQ(picker().pillLabel(), QStringLiteral("old")) << "a model that isn't offered is still labelled";
    session().setSelectedCloudModel(QStringLiteral("gone"));
    session().setProvider(Provider::gemini);
    EXPECT_EQ(picker().pillLabel(), QStringLiteral("Gemini"));
    session().setProvider(Provider::local);
    EXPECT_EQ(picker().pillLabel(), QStringLiteral("Self-Hosted"));
    EXPECT_EQ(picker().pillIcon(), QStringLiteral("cpu"));
    session().setSelectedLocalModel(QStringLiteral("Qwen/Qwen3-14B-MLX-4bit"));
    EXPECT_EQ(picker().pillLabel(), QStringLiteral("Qwen3 14B"));
    session().setSelectedLocalModel(QStringLiteral("a/b/c"));
    EXPECT_EQ(picker().pillLabel(), QStringLiteral("c"));
}

TEST_F(ProviderPickerTest, aChangeOfTheChoiceIsAnnounced) {
    int pills = 0;
    QObject::connect(&picker(), &ProviderPicker::pillChanged, [&] { ++pills; });
    session().setProvider(Provider::gemini);
    session().setSelectedCloudModel(QStringLiteral("x"));
    session().setSelectedLocalModel(QStringLiteral("y"));
    fill();
    EXPECT_EQ(pills, 4);
}

TEST_F(ProviderPickerTest, appearingRefreshesTheCatalog) {
    transport.answerWith(200, twoProviders);
    picker().appear();
    settle();
    EXPECT_EQ(catalog.providers().size(), 3u);
    picker().appear();
    settle();
    EXPECT_EQ(transport.requests.size(), 1u);
}

TEST_F(ProviderPickerTest, theDiskIsReadOnceForEachAppearanceAndNeverOnTheMainThread) {
    onDisk({QStringLiteral("a/b")});
    menu();
    session().setProvider(Provider::local);
    menu();
    EXPECT_EQ(disk->readings, 1);
    onDisk({});
    EXPECT_EQ(disk->readings, 2);
    EXPECT_EQ(menu().filter(QStringLiteral("b")), QStringList());
    EXPECT_FALSE(disk->readOnMain);
}

TEST_F(ProviderPickerTest, aDiskThatHoldsTheSameIsNoChange) {
    onDisk({QStringLiteral("a/b")});
    transport.answerWith(500);
    int changed = 0;
    QObject::connect(&picker(), &ProviderPicker::sectionsChanged, [&] { ++changed; });
    picker().appear();
    picker().appear(); // while the first still reads
    ASSERT_TRUE(test::waitUntil([this] { return disk->readings == 2; }));
    // A third begins when what the second found has been taken in.
    ASSERT_TRUE(test::waitUntil([this] {
        if (disk->readings >= 3)
            return true;
        picker().appear();
        return false;
    }));
    EXPECT_EQ(disk->readings, 3);
    EXPECT_EQ(changed, 0);
}

} // namespace
} // namespace vennic
