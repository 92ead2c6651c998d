#include "screen/ScreenFixture.h"

#include <QDir>

namespace vennic::test {
namespace {

/// Pictures for people to look at, where VENNIC_PICTURES names a folder for them.
struct PictureTest : ScreenFixture {
    void keep(const char* name) {
        const QImage image = picture();
        const qreal scale = popover().devicePixelRatio();
        EXPECT_EQ(image.size(), QSize(380, 520) * scale);
        const QString folder = qEnvironmentVariable("VENNIC_PICTURES");
        if (!folder.isEmpty())
            EXPECT_TRUE(image.save(QDir(folder).filePath(QLatin1String(name) +
                                                         (appearance.dark ? QStringLiteral("-dark") : QString()) +
                                                         QStringLiteral("@%1.png").arg(scale))));
    }
    void conversation() {
        user(QStringLiteral("Retrouve ma dernière facture d'électricité et dis-moi combien j'ai payé."));
        assistant(
            QStringLiteral("J'ai trouvé **une facture** dans tes dossiers partagés :\n\n- [facture-électricité.pdf]"
                           "(vennic://local_file/open/3A90EE14) : *août 2024*, `11,30 Kio`\n\nLe montant est de "
                           "**84,12 €**, prélevé le 12 août."));
        user(QStringLiteral("Merci ! Et en 2023 ?"));
    }
};

TEST_F(PictureTest, emptyConversation) { keep("empty"); }
TEST_F(PictureTest, emptyConversationInTheDark) {
    appearance.dark = true;
    keep("empty");
}
TEST_F(PictureTest, aConversation) {
    conversation();
    session().setIsStreaming(true);
    keep("conversation");
}
TEST_F(PictureTest, aConversationInTheDark) {
    appearance.dark = true;
    conversation();
    keep("conversation");
}
TEST_F(PictureTest, scriptsOfTheWorld) {
    user(QStringLiteral("مرحبا، كيف حالك؟ 😀👩‍👩‍👧‍👦"));
    assistant(
        QStringLiteral("שלום עולם! Anticonstitutionnellement_%1\n日本語のテキスト、中文 🎉").arg(QString(80, u'x')));
    assistant(QStringLiteral("<img src=\"http://evil.test/a.png\"> ![facture](file:///etc/passwd) <b>gras</b>"));
    session().setLastError(QStringLiteral("Session expirée. Recolle ton jeton dans Réglages (⌘,)."));
    keep("scripts");
}

} // namespace
} // namespace vennic::test
