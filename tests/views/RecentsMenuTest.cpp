#include "shell/RecentsMenu.h"

#include "core/SessionFixture.h"

namespace vennic {
namespace {

struct RecentsMenuTest : test::SessionFixture {
    std::vector<QUrl> opened;
    std::unique_ptr<RecentsMenu> made;

    RecentsMenu& menu() {
        if (!made)
            made = std::make_unique<RecentsMenu>(
                RecentsMenu::Surroundings{session(), http, config, [this](const QUrl& url) { opened.push_back(url); }});
        return *made;
    }
    void signIn() {
        signedIn();
        transport.requests.clear();
    }
    void appear() {
        menu().appear();
        settle();
    }
    QStringList titles() {
        QStringList titles;
        for (const QVariant& title : menu().entries())
            titles.append(title.toString());
        return titles;
    }
};

TEST_F(RecentsMenuTest, showsTheLatestDiscussionsByTheirTitles) {
    signIn();
    transport.answerWith(200, R"([{"id":1,"name":"Factures"},{"id":42},{"id":7,"name":""}])");
    appear();
    EXPECT_EQ(titles(), (QStringList{QStringLiteral("Factures"), QStringLiteral("Discussion 42"),
                                     QStringLiteral("Discussion 7")}));
    EXPECT_EQ(menu().placeholder(), QString());
    ASSERT_EQ(transport.requests.size(), 1u);
    EXPECT_TRUE(transport.requests[0].url.toString().contains(QStringLiteral("limit=5")));
}

TEST_F(RecentsMenuTest, aServerThatKnowsNoMeasureFillsNoScreen) {
    signIn();
    QByteArray many = R"([{"id":1,"name":")" + QByteArray(100'000, 'x') + R"("})";
    for (int id = 2; id < 1000; ++id)
        many += R"(,{"id":)" + QByteArray::number(id) + '}';
    transport.answerWith(200, many + ']');
    appear();
    ASSERT_EQ(titles().size(), 5);
    EXPECT_EQ(titles()[0], QString(200, u'x') + u'…');
    EXPECT_EQ(titles()[4], QStringLiteral("Discussion 5"));
}

TEST_F(RecentsMenuTest, saysThatItLoadsOnlyWhileThereIsNothingToShow) {
    signIn();
    transport.hold();
    transport.answerWith(200, R"([{"id":1,"name":"a"}])");
    appear();
    EXPECT_EQ(menu().placeholder(), QStringLiteral("Chargement…"));
    transport.release();
    settle();
    EXPECT_EQ(titles(), QStringList{QStringLiteral("a")});
    transport.hold();
    transport.answerWith(200, "[]");
    appear();
    EXPECT_EQ(titles(), QStringList{QStringLiteral("a")}) << "what was there stays until the answer";
    transport.release();
    settle();
    EXPECT_EQ(menu().placeholder(), QStringLiteral("Aucune discussion récente"));
}

TEST_F(RecentsMenuTest, asksOnceAtATime) {
    signIn();
    transport.hold();
    transport.answerWith(200, "[]");
    appear();
    appear();
    EXPECT_EQ(transport.requests.size(), 1u);
    transport.release();
    settle();
}

TEST_F(RecentsMenuTest, aFailureEmptiesTheListWithoutAWord) {
    signIn();
    transport.answerWith(200, R"([{"id":1,"name":"a"}])");
    appear();
    transport.answerWith(500, "panne");
    appear();
    EXPECT_TRUE(titles().isEmpty());
    EXPECT_EQ(menu().placeholder(), QStringLiteral("Aucune discussion récente"));
    EXPECT_EQ(session().lastError(), std::nullopt);
}

TEST_F(RecentsMenuTest, withTheTokenGoneTheListEmptiesAtTheNextAppearance) {
    signIn();
    transport.answerWith(200, R"([{"id":1,"name":"a"}])");
    appear();
    session().setToken(SecretText{});
    settle();
    EXPECT_EQ(titles().size(), 1);
    transport.requests.clear();
    appear();
    EXPECT_TRUE(titles().isEmpty());
    EXPECT_EQ(menu().placeholder(), QStringLiteral("Aucune discussion récente"));
    EXPECT_TRUE(transport.requests.empty());
}

TEST_F(RecentsMenuTest, discussionsOpenOnTheWeb) {
    signIn();
    transport.answerWith(200, R"([{"id":42,"name":"a"}])");
    appear();
    menu().open(0);
    menu().openAll();
    menu().open(1);
    menu().open(-1);
    EXPECT_EQ(opened, (std::vector<QUrl>{QUrl(QStringLiteral("https://api.vennic.test/discussions/42")),
                                         QUrl(QStringLiteral("https://api.vennic.test/discussions"))}));
}

} // namespace
} // namespace vennic
