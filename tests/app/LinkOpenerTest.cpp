#include "app/LinkOpener.h"

#include "fakes/ModalDialogsFake.h"
#include "fakes/PhotoLibraryFake.h"
#include "fakes/WorkspaceFake.h"
#include "support/Await.h"

#include <QFile>

#include <gtest/gtest.h>

using namespace vennic;

namespace {

struct LinkOpenerTest : ::testing::Test {
    BridgeIDCache idCache;
    std::shared_ptr<test::PhotoLibraryFake> photos = std::make_shared<test::PhotoLibraryFake>();
    std::shared_ptr<test::WorkspaceFake> workspace = std::make_shared<test::WorkspaceFake>();
    test::ModalDialogsFake dialogs;
    LinkOpener links{{.idCache = idCache, .photos = photos, .workspace = workspace, .dialogs = dialogs}};

    LinkOpenerTest() {
        idCache.put(QStringLiteral("ID-1"), {QStringLiteral("/partage/bail.pdf")});
        photos->photos.push_back({QStringLiteral("AB/001"), {}, {}, {}});
        photos->images[QStringLiteral("AB/001")] = {"image", QStringLiteral("public.png")};
    }
    QStringList follow(const char* address) {
        workspace->opened.clear();
        test::await(links.follow(QString::fromUtf8(address)));
        return workspace->opened;
    }
    QString refusal(const char* address) {
        return test::await(links.open(QString::fromUtf8(address))).value_or(QString());
    }
    QStringList warnings() {
        QStringList texts;
        for (const auto& [title, text] : dialogs.warnings)
            texts.append(title + QStringLiteral(": ") + text);
        return texts;
    }
};

} // namespace

TEST_F(LinkOpenerTest, aDocumentThatIsKnownIsOpened) {
    EXPECT_EQ(follow("vennic://local_file/open/ID-1"), QStringList{QStringLiteral("/partage/bail.pdf")});
    EXPECT_EQ(follow("vennic://local_file/open/ID%2D1"), QStringList{QStringLiteral("/partage/bail.pdf")});
    EXPECT_TRUE(dialogs.warnings.empty());
}

TEST_F(LinkOpenerTest, aDocumentThatIsNoLongerKnownDoesNothingAndShowsNothing) {
    EXPECT_EQ(follow("vennic://local_file/open/ID-2"), QStringList());
    EXPECT_TRUE(dialogs.warnings.empty());
}

TEST_F(LinkOpenerTest, anyOtherLinkOfTheProgramsOwnDoesNothing) {
    for (const char* address : {"vennic://local_file/open/", "vennic://local_file/show/ID-1", "vennic://ailleurs",
                                "vennic://desktop/hallwarden_panel", "vennic:", "vennic://%"})
        EXPECT_EQ(follow(address), QStringList()) << address;
    EXPECT_TRUE(dialogs.warnings.empty());
}

TEST_F(LinkOpenerTest, aPhotoIsShownByItsEncodedIdentifier) {
    const QStringList shown = follow("vennic://local_photo/view/AB%2F001");
    ASSERT_EQ(shown.size(), 1);
    EXPECT_TRUE(shown[0].endsWith(QStringLiteral(".png"))) << shown[0].toStdString();
    QFile::remove(shown[0]);
    EXPECT_TRUE(dialogs.warnings.empty());
    EXPECT_EQ(follow("vennic://local_photo/view/nobody"), QStringList());
    EXPECT_EQ(warnings(), QStringList{QStringLiteral("Photo: Photo introuvable dans la bibliothèque.")});
}

TEST_F(LinkOpenerTest, anAddressOfAnybodyElseIsTheSystems) {
    EXPECT_EQ(follow("https://exemple.fr/é?a=1#b"), QStringList{QStringLiteral("https://exemple.fr/%C3%A9?a=1#b")});
    EXPECT_EQ(follow("mailto:a@b.fr"), QStringList{QStringLiteral("mailto:a@b.fr")});
    EXPECT_TRUE(dialogs.warnings.empty());
}

TEST_F(LinkOpenerTest, whatTheSystemCannotOpenIsSaid) {
    workspace->failures[QStringLiteral("/partage/bail.pdf")] = QStringLiteral("Rien ne l'ouvre.");
    workspace->failures[QStringLiteral("https://x.fr")] = QStringLiteral("Pas de navigateur.");
    follow("vennic://local_file/open/ID-1");
    follow("https://x.fr");
    EXPECT_EQ(warnings(),
              (QStringList{QStringLiteral("Vennic: Rien ne l'ouvre."), QStringLiteral("Vennic: Pas de navigateur.")}));
}

TEST_F(LinkOpenerTest, whoNamesOneIsToldWhyItDoesNotOpen) {
    EXPECT_EQ(refusal("vennic://local_file/open/ID-1"), QString());
    EXPECT_EQ(workspace->opened, QStringList{QStringLiteral("/partage/bail.pdf")});
    EXPECT_EQ(refusal("vennic://local_file/open/ID-2"), QStringLiteral("Document introuvable ; relance la recherche."));
    for (const char* address : {"https://x.fr", "vennic://ailleurs", "vennic://local_file/open/", ""})
        EXPECT_EQ(refusal(address),
                  QStringLiteral("Cette adresse n'est ni celle d'un document ni celle d'une photo : ") +
                      QString::fromUtf8(address));
    workspace->failures[QStringLiteral("/partage/bail.pdf")] = QStringLiteral("Rien ne l'ouvre.");
    EXPECT_THROW(refusal("vennic://local_file/open/ID-1"), LocalizedError);
    EXPECT_TRUE(dialogs.warnings.empty());
}

TEST_F(LinkOpenerTest, aPhotoThatIsNotThereIsToldToBothTheScreenAndWhoNamedIt) {
    const QString words = QStringLiteral("Photo introuvable dans la bibliothèque.");
    EXPECT_EQ(refusal("vennic://local_photo/view/nobody"), words);
    EXPECT_TRUE(test::waitUntil([this] { return dialogs.warnings.size() == 1; }));
    dialogs.screen = false;
    EXPECT_EQ(refusal("vennic://local_photo/view/nobody"), words);
    EXPECT_EQ(dialogs.warnings.size(), 1U);
}
