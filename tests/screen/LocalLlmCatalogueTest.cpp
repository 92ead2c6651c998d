#include "screen/LocalLlmTabFixture.h"

#include <QAccessible>

namespace vennic::test {
namespace {

/// The models of the tab: which is served, and what of them is on disk.
struct LocalLlmCatalogueTest : LocalLlmTabFixture {};

TEST_F(LocalLlmCatalogueTest, aModelIsChosenByTheKeyboard) {
    openTab();
    tabTo("model");
    space();
    key(Qt::Key_Down); // from the one that is chosen
    key(Qt::Key_Return);
    EXPECT_EQ(session().localLLMModel(), QStringLiteral("mlx-community/Qwen2.5-Coder-14B-Instruct-4bit"));
    EXPECT_EQ(find("model")->property("text").toString(), QStringLiteral("Qwen2.5 Coder 14B"));
    EXPECT_EQ(focused(), QStringLiteral("model"));
    EXPECT_TRUE(find("model")->property("visualFocus").toBool());
}

TEST_F(LocalLlmCatalogueTest, anIdentifierOfOnesOwnIsWritten) {
    openTab();
    tabTo("model");
    space();
    for (int presses = 0; presses < 7; ++presses)
        key(Qt::Key_Down);
    key(Qt::Key_Return);
    until([this] { return focused() == QStringLiteral("customModel"); });
    EXPECT_EQ(find("model")->property("text").toString(), QStringLiteral("Personnalisé"));
    EXPECT_EQ(session().localLLMModel(), usual);
    write(QStringLiteral("moi/mien"));
    EXPECT_EQ(session().localLLMModel(), QStringLiteral("moi/mien"));
    EXPECT_EQ(find("customModel")->property("text").toString(), QStringLiteral("moi/mien"));
}

TEST_F(LocalLlmCatalogueTest, aModelIsDeletedAfterTheQuestion) {
    runtime.haveModel(small);
    openTab();
    tabTo("delete");
    space();
    EXPECT_EQ(focused(), QStringLiteral("refuse"));
    EXPECT_TRUE(words().contains(QStringLiteral("Supprimer Qwen3 4B")));
    EXPECT_TRUE(words().contains(
        QStringLiteral("Les poids seront retirés du cache Hugging Face. Tu pourras re-télécharger à tout moment, mais "
                       "compte 2-20 min selon la taille.")));
    key(Qt::Key_Escape);
    until([this] { return !tab().isDeletePending(); });
    EXPECT_EQ(focused(), QStringLiteral("delete"));
    EXPECT_TRUE(runtime.usage->removed.isEmpty());
    space();
    key(Qt::Key_Tab);
    EXPECT_EQ(focused(), QStringLiteral("accept"));
    key(Qt::Key_Tab);
    EXPECT_EQ(focused(), QStringLiteral("refuse")) << "the question keeps the keyboard";
    key(Qt::Key_Tab);
    space();
    until([this] { return tab().downloadedModelIds().isEmpty(); });
    until([this] { return focused() == QStringLiteral("download"); });
    EXPECT_TRUE(window().activeFocusItem()->property("visualFocus").toBool());
    EXPECT_EQ(log(), QStringLiteral("✓ Qwen3 4B supprimé (0 MB libérés)"));
}

TEST_F(LocalLlmCatalogueTest, theButtonThatDeletesIsOfNoUseUntilTheModelIsGone) {
    runtime.haveModel(small);
    openTab();
    HungDisk disk;
    runtime.usage->disk = &disk;
    tabTo("delete");
    const QQuickItem* const bin = window().activeFocusItem();
    EXPECT_EQ(bin->opacity(), 1);
    space();
    key(Qt::Key_Tab);
    space();
    until([&] { return disk.asked() == 1; });
    EXPECT_EQ(window().activeFocusItem(), bin) << "the keyboard stays where it is";
    EXPECT_LT(bin->opacity(), 1);
    EXPECT_EQ(QAccessible::queryAccessibleInterface(window().activeFocusItem())->text(QAccessible::Description),
              QStringLiteral("Indisponible"));
    keep("llm-deleting");
    space();
    EXPECT_FALSE(tab().isDeletePending());
    disk.answer();
    until([this] { return focused() == QStringLiteral("download"); });
    EXPECT_EQ(runtime.usage->removed.size(), 1);
}

TEST_F(LocalLlmCatalogueTest, aDownloadGivesItsPlaceToTheButtonThatDeletes) {
    runtime.haveTools();
    openTab();
    auto& script =
        runtime.programs.scripts[runtime.generate(QStringLiteral("mlx-community/Phi-3.5-mini-instruct-4bit"))];
    script.pieces = {"\rFetching 10 files:  30%|###"};
    script.effect = [this] { runtime.haveModel(QStringLiteral("mlx-community/Phi-3.5-mini-instruct-4bit")); };
    script.awaited = never;
    tabTo("download");
    space();
    until([this] { return tab().downloadPercentage() == 30; });
    EXPECT_TRUE(words().contains(QStringLiteral("Fetching 10 files:  30%|###")));
    EXPECT_FALSE(find("install")->isEnabled());
    never->set();
    until([this] { return tab().downloadingId().isEmpty(); });
    until([this] { return focused() == QStringLiteral("delete"); });
    const QQuickItem* row = window().activeFocusItem();
    while (row && !row->property("isDownloaded").isValid())
        row = row->parentItem();
    ASSERT_TRUE(row);
    EXPECT_EQ(row->property("detail").toString(), QStringLiteral("2.3 GB · 55 tok/s · 3 GB RAM · téléchargé"));
}

} // namespace
} // namespace vennic::test
