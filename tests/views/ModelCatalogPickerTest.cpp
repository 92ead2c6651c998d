#include "localllm/ModelCatalogPicker.h"

#include "core/SessionFixture.h"
#include "fakes/SystemMemoryFake.h"
#include "localllm/LocalLLMCatalog.h"

namespace vennic {
namespace {

const QString coder = QStringLiteral("mlx-community/Qwen2.5-Coder-14B-Instruct-4bit");

struct ModelCatalogPickerTest : test::SessionFixture {
    test::SystemMemoryFake memory;
    std::unique_ptr<ModelCatalogPicker> own;

    ModelCatalogPicker& picker() {
        if (!own)
            own = std::make_unique<ModelCatalogPicker>(session(), memory);
        return *own;
    }
    QString detail(const char* id) { return picker().detailOf(QLatin1String(id)); }
    QStringList warned() {
        QStringList titles;
        for (const QVariant& row : picker().rows())
            if (row.toMap().value(QStringLiteral("exceedsMemory")).toBool())
                titles.append(row.toMap().value(QStringLiteral("title")).toString());
        return titles;
    }
};

TEST_F(ModelCatalogPickerTest, beginsWithTheModelsThatTheProgramKnows) {
    EXPECT_EQ(picker().models(), LocalLLMCatalog::models());
    EXPECT_EQ(picker().rows().size(), 14);
    EXPECT_EQ(picker().rows().first().toMap().value(QStringLiteral("title")).toString(),
              QStringLiteral("Phi-3.5 mini"));
}

TEST_F(ModelCatalogPickerTest, eachRowHasItsDetailLine) {
    EXPECT_EQ(detail("Qwen/Qwen3-14B-MLX-4bit"), QStringLiteral("8.0 GB · 14 tok/s · 10 GB RAM"));
    EXPECT_EQ(detail("mlx-community/Phi-3.5-mini-instruct-4bit"), QStringLiteral("2.3 GB · 55 tok/s · 3 GB RAM"));
}

TEST_F(ModelCatalogPickerTest, halvesAreRoundedToTheEvenDigitAsPrintfDoes) {
    EXPECT_EQ(detail("mlx-community/Qwen3-8B-4bit"), QStringLiteral("5.0 GB · 25 tok/s · 6 GB RAM"));
    EXPECT_EQ(detail("mlx-community/Qwen3-4B-4bit"), QStringLiteral("2.5 GB · 45 tok/s · 4 GB RAM"));
}

TEST_F(ModelCatalogPickerTest, theDetailLineTellsWhatIsDownloadedAndWhatExceedsTheMemory) {
    picker().setDownloaded({QStringLiteral("mlx-community/Qwen3-32B-4bit"), coder});
    EXPECT_EQ(detail("mlx-community/Qwen3-32B-4bit"),
              QStringLiteral("18.0 GB · 6 tok/s · 21 GB RAM · téléchargé · ⚠︎ dépasse la RAM"));
    EXPECT_EQ(detail("mlx-community/Qwen2.5-Coder-14B-Instruct-4bit"),
              QStringLiteral("8.3 GB · 13 tok/s · 10 GB RAM · téléchargé"));
    EXPECT_EQ(detail("mlx-community/Qwen3.6-35B-A3B-OptiQ-4bit"),
              QStringLiteral("21.1 GB · 12 tok/s · 24 GB RAM · ⚠︎ dépasse la RAM"));
}

TEST_F(ModelCatalogPickerTest, rowsAreToldWhenToAskForTheirDetailAnew) {
    std::vector<int> revisions{picker().revision()};
    QObject::connect(&picker(), &ModelCatalogPicker::detailsChanged, [&] { revisions.push_back(picker().revision()); });
    picker().setDownloaded({coder});
    picker().setDownloaded({coder});
    EXPECT_TRUE(picker().isDownloaded(coder));
    EXPECT_FALSE(picker().isDownloaded(QStringLiteral("moi/mien")));
    picker().setModels({});
    EXPECT_EQ(revisions, (std::vector<int>{0, 1, 2}));
    EXPECT_EQ(picker().detailOf(coder), QString());
}

TEST_F(ModelCatalogPickerTest, sixteenGigabytesWarnOfWhatTakesMoreThanTwelve) {
    EXPECT_EQ(warned(), (QStringList{QStringLiteral("Qwen3.6 35B A3B"), QStringLiteral("Qwen3 32B")}));
    LocalLLMModel model;
    model.ramGB = 12.0;
    EXPECT_FALSE(picker().exceedsMemory(model));
    model.ramGB = 12.001;
    EXPECT_TRUE(picker().exceedsMemory(model));
}

TEST_F(ModelCatalogPickerTest, aSystemThatDoesNotTellItsMemoryWarnsOfNothing) {
    memory.told.total.reset();
    EXPECT_TRUE(warned().isEmpty());
}

TEST_F(ModelCatalogPickerTest, theClosedPickerShowsTheChoice) {
    EXPECT_EQ(picker().label(), QStringLiteral("Qwen3 14B"));
    EXPECT_EQ(picker().hint(), QStringLiteral("Recommandé pour Mac 24 GB — très bon raisonnement et agents."));
    EXPECT_FALSE(picker().isWritingCustom());
    session().setLocalLLMModel(QStringLiteral("moi/mien"));
    EXPECT_EQ(picker().label(), QStringLiteral("Personnalisé"));
    EXPECT_EQ(picker().hint(),
              QStringLiteral(
                  "Modèle personnalisé. Le Mac téléchargera les poids depuis Hugging Face au premier chargement."));
    EXPECT_EQ(picker().customModel(), QStringLiteral("moi/mien"));
    EXPECT_TRUE(picker().isWritingCustom());
    session().setLocalLLMModel({});
    EXPECT_EQ(picker().label(), QStringLiteral("Choisir un modèle"));
    EXPECT_EQ(picker().customLabel(), QStringLiteral("Autre (ID Hugging Face personnalisé)…"));
}

TEST_F(ModelCatalogPickerTest, aChosenRowIsServed) {
    picker().choose(coder);
    EXPECT_EQ(session().localLLMModel(), coder);
    EXPECT_EQ(stored("localLLMModel"), StoredValue(coder));
    EXPECT_EQ(picker().label(), QStringLiteral("Qwen2.5 Coder 14B"));
}

TEST_F(ModelCatalogPickerTest, whoChoosesAnIdentifierOfTheirOwnKeepsTheModelUntilTheyWriteIt) {
    picker().chooseCustom();
    EXPECT_TRUE(picker().isWritingCustom());
    EXPECT_EQ(picker().label(), QStringLiteral("Personnalisé"));
    EXPECT_EQ(picker().customModel(), QString());
    picker().setCustomModel(QStringLiteral(" "));
    EXPECT_EQ(session().localLLMModel(), QStringLiteral("Qwen/Qwen3-14B-MLX-4bit"));
    picker().setCustomModel(QStringLiteral(" moi/mien\n"));
    EXPECT_EQ(session().localLLMModel(), QStringLiteral("moi/mien"));
    picker().setCustomModel(coder);
    EXPECT_EQ(picker().customModel(), coder) << "one of the catalogue's can be written too";
    EXPECT_TRUE(picker().isWritingCustom());
    picker().setCustomModel({});
    EXPECT_EQ(session().localLLMModel(), QString());
    picker().choose(coder);
    EXPECT_FALSE(picker().isWritingCustom());
    EXPECT_EQ(picker().customModel(), QString());
}

TEST_F(ModelCatalogPickerTest, aWishToWriteThatNothingCameOfIsForgotten) {
    picker().chooseCustom();
    picker().appear();
    EXPECT_FALSE(picker().isWritingCustom());
    EXPECT_EQ(picker().label(), QStringLiteral("Qwen3 14B"));
}

TEST_F(ModelCatalogPickerTest, anotherCatalogueDecidesWhatIsCustom) {
    LocalLLMModel mine;
    mine.id = QStringLiteral("moi/mien");
    mine.displayName = QStringLiteral("Mien");
    picker().setModels({mine});
    EXPECT_TRUE(picker().isCustomModel());
    picker().choose(mine.id);
    EXPECT_FALSE(picker().isCustomModel());
    EXPECT_EQ(picker().label(), QStringLiteral("Mien"));
}

TEST_F(ModelCatalogPickerTest, sizesWithoutMeasureAreStillWritten) {
    LocalLLMModel huge;
    huge.sizeGB = 1.7e308;
    huge.ramGB = -1.7e308;
    picker().setModels({huge});
    EXPECT_LT(picker().detailOf({}).size(), 800);
}

} // namespace
} // namespace vennic
