#include "support/OneThread.h"
#include "views/LocalLLMSettingsFixture.h"

namespace vennic {
namespace {

using namespace std::chrono_literals;

struct LocalModelsTest : test::LocalLLMSettingsFixture {};

// Downloads

TEST_F(LocalModelsTest, aDownloadShowsItsProgressAsTheToolPrintsIt) {
    world.haveTools();
    shown();
    hangs(world.generate(test::smallModel));
    world.programs.scripts[world.generate(test::smallModel)].pieces = {"\rFetching:  10%|#", "\rFetching:  40%|####"};
    world.programs.scripts[world.generate(test::smallModel)].effect = [this] { world.haveModel(test::smallModel); };
    view().download(test::smallModel);
    EXPECT_EQ(view().downloadingId(), test::smallModel);
    until([this] { return view().downloadPercentage() == 40; });
    EXPECT_EQ(view().downloadProgress(), QStringLiteral("Fetching:  40%|####"));
    EXPECT_EQ(view().shownLog(), (QStringList{QStringLiteral("▶︎ Téléchargement du modèle ") + test::smallModel,
                                              QStringLiteral("Fetching:  40%|####")}));
    view().download(test::usualModel);
    view().runInstall();
    view().askToDelete(test::smallModel);
    rest();
    EXPECT_EQ(view().downloadingId(), test::smallModel) << "one at a time";
    EXPECT_FALSE(view().isInstalling());
    EXPECT_FALSE(view().isDeletePending()) << "what is being downloaded isn't deleted";
    never->set();
    until([this] { return view().downloadingId().isEmpty(); });
    EXPECT_EQ(view().downloadedModelIds(), QSet<QString>{test::smallModel});
    EXPECT_EQ(view().installLog().last(),
              QStringLiteral("✓ Modèle ") + test::smallModel + QStringLiteral(" téléchargé."));
    EXPECT_EQ(view().downloadProgress(), QString());
    EXPECT_EQ(view().downloadPercentage(), -1);
    EXPECT_EQ(world.programs.started.size(), 1u);
}

TEST_F(LocalModelsTest, aFloodOfProgressIsToldOnce) {
    world.haveTools();
    shown();
    QByteArray flood;
    for (int i = 0; flood.size() < 64 << 10; ++i)
        flood += QByteArray::number(i) + '\n';
    hangs(world.generate(test::smallModel));
    world.programs.scripts[world.generate(test::smallModel)].pieces = {flood, "\rFetching:  40%|####"};
    int told = 0;
    QObject::connect(&view(), &LocalLLMSettingsView::downloadProgressChanged, [&] { ++told; });
    QObject::connect(&view(), &LocalLLMSettingsView::installLogChanged, [&] { ++told; });
    view().download(test::smallModel);
    until([this] { return view().downloadPercentage() == 40; });
    rest();
    EXPECT_EQ(told, 2) << "one of each";
    EXPECT_EQ(view().installLog().size(), 200);
    never->set();
    until([this] { return view().downloadingId().isEmpty(); });
    rest();
    EXPECT_EQ(view().downloadProgress(), QString()) << "what was said last comes after nothing";
}

TEST_F(LocalModelsTest, aDownloadThatFailsIsToldAndCountsForNothing) {
    world.haveTools();
    shown();
    world.programs.scripts[world.generate(test::smallModel)] = {.pieces = {"pas de place\n"}, .status = 1};
    world.programs.scripts[world.generate(test::smallModel)].effect = [this] { world.haveModel(test::smallModel); };
    view().download(test::smallModel);
    until([this] { return view().downloadingId().isEmpty(); });
    EXPECT_EQ(view().installError(), QStringLiteral("Échec (1) : ") + world.generate(test::smallModel));
    EXPECT_TRUE(view().downloadedModelIds().isEmpty());
    EXPECT_EQ(view().installLog().last(), QStringLiteral("pas de place"));
}

TEST_F(LocalModelsTest, aDownloadKeepsTheLogOfWhatWasDoneBefore) {
    world.haveTools();
    world.programs.scripts[world.installServer()] = {.pieces = {"avant\n"}, .status = 1};
    view().runInstall();
    until([this] { return !view().isInstalling(); });
    view().download(test::smallModel);
    EXPECT_EQ(view().installError(), QString());
    until([this] { return view().downloadingId().isEmpty(); });
    EXPECT_TRUE(view().installLog().contains(QStringLiteral("avant")));
}

TEST_F(LocalModelsTest, aDownloadThatHangsEndsWithTheWindow) {
    world.haveTools();
    shown();
    hangs(world.generate(test::smallModel));
    view().download(test::smallModel);
    until([this] { return !world.programs.started.empty(); });
    view().disappear();
    until([this] { return view().downloadingId().isEmpty(); });
    EXPECT_EQ(view().installError(), QString());
}

TEST_F(LocalModelsTest, onlyModelsOfTheCatalogueAreDownloaded) {
    world.haveTools();
    view().download(QStringLiteral("--config=/etc/passwd"));
    EXPECT_EQ(view().downloadingId(), QString());
}

// Deleting

TEST_F(LocalModelsTest, deletingIsAskedFirst) {
    world.haveModel(test::smallModel);
    shown();
    view().askToDelete(test::smallModel);
    EXPECT_EQ(view().deleteTitle(), QStringLiteral("Supprimer Qwen3 4B"));
    EXPECT_EQ(view().deleteMessage(),
              QStringLiteral("Les poids seront retirés du cache Hugging Face. Tu pourras re-télécharger à tout moment, "
                             "mais compte 2-20 min selon la taille."));
    view().keepModel();
    EXPECT_FALSE(view().isDeletePending());
    view().deleteModel();
    rest();
    EXPECT_TRUE(world.usage->removed.isEmpty());
}

TEST_F(LocalModelsTest, deletingTellsWhatItFreed) {
    world.haveModel(test::smallModel);
    shown();
    world.usage->bytes = 2'499'600'000;
    view().askToDelete(test::smallModel);
    view().deleteModel();
    EXPECT_FALSE(view().isDeletePending());
    until([this] { return !view().installLog().isEmpty(); });
    EXPECT_EQ(view().installLog(), QStringList{QStringLiteral("✓ Qwen3 4B supprimé (2500 MB libérés)")});
    EXPECT_TRUE(view().downloadedModelIds().isEmpty());
    EXPECT_EQ(session().localLLMModel(), test::usualModel) << "another one";
}

TEST_F(LocalModelsTest, deletingTheDefaultLeavesNone) {
    world.haveModel(test::usualModel);
    session().setSelectedLocalModel(test::usualModel);
    shown();
    view().askToDelete(test::usualModel);
    view().deleteModel();
    until([this] { return session().localLLMModel().isEmpty(); });
    EXPECT_EQ(session().selectedLocalModel(), QString());
    EXPECT_EQ(stored("localLLMModel"), StoredValue(QString()));
    EXPECT_EQ(stored("selectedLocalModel"), StoredValue(QString()));
    EXPECT_TRUE(view().isCustomModel());
    EXPECT_EQ(view().modelHint(), QStringLiteral("Modèle personnalisé. Le Mac téléchargera les poids depuis Hugging "
                                                 "Face au premier chargement."));
}

TEST_F(LocalModelsTest, aModelThatCannotBeDeletedIsKeptAndSaysWhy) {
    world.haveModel(test::usualModel);
    shown();
    world.usage->refuses = true;
    view().askToDelete(test::usualModel);
    view().deleteModel();
    until([this] { return !view().installError().isEmpty(); });
    EXPECT_EQ(view().installError(), QStringLiteral("Suppression échouée : Le disque est en lecture seule."));
    EXPECT_EQ(view().downloadedModelIds(), QSet<QString>{test::usualModel});
    EXPECT_EQ(session().localLLMModel(), test::usualModel);
    EXPECT_TRUE(view().installLog().isEmpty());
}

TEST_F(LocalModelsTest, aDownloadThatHasGoneAlreadyFreesNothing) {
    shown();
    view().askToDelete(test::smallModel);
    view().deleteModel();
    until([this] { return !view().installLog().isEmpty(); });
    EXPECT_EQ(view().installLog().last(), QStringLiteral("✓ Qwen3 4B supprimé (0 MB libérés)"));
}

TEST_F(LocalModelsTest, aModelThatIsBeingDeletedIsNotDeletedAgain) {
    world.haveModel(test::smallModel);
    shown();
    test::HungDisk disk;
    world.usage->disk = &disk;
    view().askToDelete(test::smallModel);
    view().deleteModel();
    EXPECT_EQ(view().deletingIds(), QStringList{test::smallModel});
    until([&] { return disk.asked() == 1; });
    view().askToDelete(test::smallModel);
    EXPECT_FALSE(view().isDeletePending());
    view().download(test::smallModel);
    EXPECT_EQ(view().downloadingId(), QString()) << "what comes would be deleted too";
    view().askToDelete(test::usualModel);
    EXPECT_TRUE(view().isDeletePending()) << "another one";
    disk.answer();
    until([this] { return view().deletingIds().isEmpty(); });
    EXPECT_EQ(world.usage->removed.size(), 1);
    EXPECT_EQ(view().installLog().size(), 1);
    view().askToDelete(test::smallModel);
    EXPECT_TRUE(view().isDeletePending());
}

TEST_F(LocalModelsTest, aModelThatCouldNotBeDeletedCanBeDeletedAgain) {
    world.haveModel(test::smallModel);
    shown();
    world.usage->refuses = true;
    view().askToDelete(test::smallModel);
    view().deleteModel();
    until([this] { return view().deletingIds().isEmpty(); });
    view().askToDelete(test::smallModel);
    EXPECT_TRUE(view().isDeletePending());
}

TEST_F(LocalModelsTest, aDownloadThatBeganAfterTheQuestionIsKept) {
    world.haveTools();
    shown();
    hangs(world.generate(test::smallModel));
    view().askToDelete(test::smallModel);
    view().download(test::smallModel);
    view().deleteModel();
    EXPECT_TRUE(view().deletingIds().isEmpty());
    EXPECT_FALSE(view().isDeletePending());
}

TEST_F(LocalModelsTest, aDiskThatDoesNotAnswerHoldsUpNothingElse) {
    world.haveModel(test::smallModel);
    shown();
    const test::OneThread pool;
    test::HungDisk disk;
    world.usage->disk = &disk;
    view().askToDelete(test::smallModel);
    view().deleteModel();
    until([&] { return disk.asked() == 1; });
    view().openLogs(); // on the pool too
    until([this] { return world.workspace->opened.size() == 1; });
}

TEST_F(LocalModelsTest, theQuestionGoesWithTheWindow) {
    shown();
    view().askToDelete(test::smallModel);
    view().disappear();
    EXPECT_FALSE(view().isDeletePending());
}

} // namespace
} // namespace vennic
