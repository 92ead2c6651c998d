#include "settings/SettingsView.h"

#include "Bridge/BridgeWorld.h"
#include "core/SessionFixture.h"
#include "fakes/FolderPickerFake.h"

namespace vennic {
namespace {

struct SettingsViewTest : test::SessionFixture {
    test::BridgeWorld world;
    test::FolderPickerFake picker;
    test::TestClock clock;
    std::unique_ptr<SettingsView> own;

    SettingsView& view() {
        if (!own)
            own = std::make_unique<SettingsView>(
                store,
                GeneralSettingsTab::Surroundings{session(), store, keychain, http, config, clock, [](const QUrl&) {},
                                                 [] { return QString(); }},
                BridgeSettingsView::Surroundings{session(), world.grants, *world.service, world.bookmarks, *world.files,
                                                 picker, clock});
        return *own;
    }
};

TEST_F(SettingsViewTest, theTabsThatHaveABodyAreOffered) {
    QStringList tabs;
    for (const QVariant& tab : view().tabs())
        for (const char* part : {"name", "title", "symbol"})
            tabs.append(tab.toMap().value(QLatin1String(part)).toString());
    EXPECT_EQ(tabs, (QStringList{QStringLiteral("general"), QStringLiteral("Général"), QStringLiteral("gearshape"),
                                 QStringLiteral("bridge"), QStringLiteral("Bridge local"),
                                 QStringLiteral("externaldrive.connected.to.line.below")}));
}

TEST_F(SettingsViewTest, theWindowOpensOnTheTabThatThePreferencesName) {
    EXPECT_EQ(view().selected(), QStringLiteral("general"));
    view().appear();
    EXPECT_EQ(view().selected(), QStringLiteral("general"));
    putText("settingsInitialTab", "bridge");
    view().appear();
    EXPECT_EQ(view().selected(), QStringLiteral("bridge")) << "asked for while it is open";
    view().disappear();
    for (const char* word : {"hallwarden", "localLlm", "Bridge", ""}) {
        putText("settingsInitialTab", word);
        view().appear();
        EXPECT_EQ(view().selected(), QStringLiteral("general")) << word;
    }
    put("settingsInitialTab", qint64{1});
    view().appear();
    EXPECT_EQ(view().selected(), QStringLiteral("general"));
}

TEST_F(SettingsViewTest, aTabIsChosenByItsName) {
    int changes = 0;
    QObject::connect(&view(), &SettingsView::selectedChanged, [&] { ++changes; });
    view().setSelected(QStringLiteral("bridge"));
    view().setSelected(QStringLiteral("bridge"));
    view().setSelected(QStringLiteral("nowhere"));
    EXPECT_EQ(view().selected(), QStringLiteral("bridge"));
    EXPECT_EQ(changes, 1);
    EXPECT_EQ(stored("settingsInitialTab"), std::nullopt) << "the next opening begins anew";
}

TEST_F(SettingsViewTest, theTokenIsReadOncePerOpeningAndForgottenAtItsEnd) {
    put("highSecurityMode", true);
    signedIn();
    view();
    credentials.prompts.clear();
    view().appear();
    view().appear();
    settleEverywhere();
    EXPECT_EQ(credentials.prompts.size(), 1u);
    EXPECT_EQ(view().general()->tokenDraft()->length(), 3);
    view().disappear();
    view().disappear();
    EXPECT_EQ(view().general()->tokenDraft()->length(), 0);
    view().appear();
    settleEverywhere();
    EXPECT_EQ(credentials.prompts.size(), 2u);
}

} // namespace
} // namespace vennic
