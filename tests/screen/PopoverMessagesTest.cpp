#include "screen/PopoverFixture.h"

namespace vennic::test {
namespace {

using PopoverMessagesTest = PopoverFixture;

TEST_F(PopoverMessagesTest, aLinkIsFollowedByTheKeyboardAndByTheMouse) {
    assistant(QStringLiteral("[ici](vennic://local_file/open/ID-1) et voilà"));
    popover();
    QQuickItem* link = nullptr;
    for (int step = 0; step < 20 && !link; ++step) {
        press(Qt::Key_Tab);
        const QAccessibleInterface* const said = QAccessible::queryAccessibleInterface(popover().activeFocusItem());
        if (said && said->role() == QAccessible::Link)
            link = popover().activeFocusItem();
    }
    ASSERT_TRUE(link);
    press(Qt::Key_Return);
    EXPECT_EQ(followed, QStringList{QStringLiteral("vennic://local_file/open/ID-1")});
    const QPointF middle = link->mapToScene(QPointF(link->width() / 2, link->height() / 2));
    click(middle);
    EXPECT_EQ(followed.size(), 2) << middle.x() << " " << middle.y() << " " << link->width();
}

TEST_F(PopoverMessagesTest, aHostileReplyLoadsNothing) {
    QTcpServer server;
    ASSERT_TRUE(server.listen(QHostAddress::LocalHost));
    int connections = 0;
    QObject::connect(&server, &QTcpServer::newConnection, &server, [&] { ++connections; });
    const QString address = QStringLiteral("http://127.0.0.1:%1/x.png").arg(server.serverPort());
    for (const char* text : {"<img src=\"%1\">", "![x](%1)", "[![x](%1)](%1)", "<a href='%1'>x</a>", "`<img src=%1>`",
                             "![x](file:///etc/hostname)", "<img src='file:///etc/hostname'>", "<object data='%1'>",
                             "**<img src=\"%1\">**", "[x](javascript:alert)", "![](data:image/png;base64,AAAA)"})
        assistant(QString::fromLatin1(text).replace(QStringLiteral("%1"), address));
    picture();
    user(QStringLiteral("<img src=\"%1\">").arg(address));
    session().setLastError(QStringLiteral("<img src=\"%1\">").arg(address));
    EXPECT_FALSE(picture().isNull());
    EXPECT_FALSE(waitUntil([&] { return connections > 0; }, std::chrono::milliseconds{200}));
    EXPECT_TRUE(followed.isEmpty());
    const auto shown = texts();
    EXPECT_GE(shown.size(), 5u);
    for (const QQuickItem* text : shown)
        EXPECT_FALSE(documentOf(*text).toHtml().contains(QStringLiteral("<img")));
}

TEST_F(PopoverMessagesTest, theEngineReachesNeitherTheNetworkNorFiles) {
    QTcpServer server;
    ASSERT_TRUE(server.listen(QHostAddress::LocalHost));
    int connections = 0;
    QObject::connect(&server, &QTcpServer::newConnection, &server, [&] { ++connections; });
    QTemporaryDir folder;
    QImage red(4, 4, QImage::Format_RGB32);
    red.fill(Qt::red);
    ASSERT_TRUE(red.save(folder.filePath(QStringLiteral("a.png"))));
    for (const QString& source : {QStringLiteral("http://127.0.0.1:%1/a.png").arg(server.serverPort()),
                                  QUrl::fromLocalFile(folder.filePath(QStringLiteral("a.png"))).toString()}) {
        QQmlComponent component(&screen().engine());
        component.setData("import QtQuick\nImage { source: \"" + source.toUtf8() + "\" }",
                          QUrl(QStringLiteral("qrc:/Vennic/Test.qml")));
        const std::unique_ptr<QObject> image(component.create());
        ASSERT_TRUE(image) << component.errorString().toStdString();
        paint();
        EXPECT_EQ(image->property("implicitWidth").toDouble(), 0) << source.toStdString();
    }
    EXPECT_FALSE(waitUntil([&] { return connections > 0; }, std::chrono::milliseconds{200}));
}

TEST_F(PopoverMessagesTest, hugeMessagesAreDrawnByTheirRowsInSightAlone) {
    assistant(QString(10 * 1024 * 1024, u'x'));
    assistant(QStringLiteral("mot ").repeated(500'000));
    for (int i = 0; i < 200; ++i)
        assistant(QStringLiteral("ligne\n").repeated(300) + QStringLiteral("\u202e bidi z͑͗̽a͉̟l̳g̝o"));
    EXPECT_FALSE(picture().isNull());
    EXPECT_GE(texts().size(), 2u);
    EXPECT_LT(texts().size(), 60u);
}

TEST_F(PopoverMessagesTest, ofAnEndlessNameOfAToolTheBeginningIsShown) {
    session().setIsStreaming(true);
    const QString endless = QStringLiteral("🔧 ") + QString(10'000, u'n') + u'…';
    const QString shown = QStringLiteral("🔧 ") + QString(200, u'n') + u'…';
    assistant({});
    popover();
    session().setMessageContent(0, endless);
    ASSERT_TRUE(waitUntil([&] { return !message().property("text").toString().isEmpty(); }));
    paint();
    EXPECT_EQ(documentOf(message()).toRawText(), shown);
    EXPECT_TRUE(names().contains(QStringLiteral("Vennic : ") + shown));
    EXPECT_LT(item("transcript")->property("contentHeight").toDouble(), 250);
    EXPECT_EQ(popover().size(), PopoverWindow::popoverSize);
    EXPECT_EQ(session().messages()[0].content, endless) << "what is kept is whole";
}

TEST_F(PopoverMessagesTest, noLineBeginsWithAMarkThatBelongsToAWord) {
    QString message;
    for (int words = 1; words <= 12; ++words)
        message += QStringLiteral("mot ").repeated(words) + QStringLiteral("« fin » : oui ! non ? 42 €\n");
    assistant(message);
    popover();
    int lines = 0;
    for (const QQuickItem* text : texts()) {
        for (QTextBlock block = documentOf(*text).begin(); block.isValid(); block = block.next()) {
            for (int line = 0; line < block.layout()->lineCount(); ++line, ++lines) {
                const QTextLine at = block.layout()->lineAt(line);
                const QString words = block.text().mid(at.textStart(), at.textLength()).trimmed();
                EXPECT_FALSE(QStringLiteral(":!?»€").contains(words.left(1)) && !words.isEmpty())
                    << words.toStdString();
                EXPECT_FALSE(words.endsWith(u'«')) << words.toStdString();
            }
        }
    }
    EXPECT_GT(lines, 12); // some are broken
}

TEST_F(PopoverMessagesTest, whatIsCopiedHasTheBlanksThatWereWritten) {
    assistant(QStringLiteral("« a » : b"));
    popover();
    EXPECT_TRUE(documentOf(message()).toRawText().contains(QChar::Nbsp));
    QMetaObject::invokeMethod(&message(), "selectAll");
    QMetaObject::invokeMethod(&message(), "copy");
    EXPECT_EQ(QGuiApplication::clipboard()->text(), QStringLiteral("« a » : b"));
    EXPECT_EQ(session().messages()[0].content, QStringLiteral("« a » : b"));
}

TEST_F(PopoverMessagesTest, aParagraphStandsOnTheSideWhereItsScriptBegins) {
    assistant(QStringLiteral("Bonjour, voici une ligne assez longue pour remplir la bulle\nשלום\nmerci"));
    popover();
    QTextBlock block = documentOf(message()).begin();
    const double width = message().width();
    EXPECT_LT(block.layout()->lineAt(0).naturalTextRect().left(), 2);
    block = block.next();
    EXPECT_GT(block.layout()->lineAt(0).naturalTextRect().right(), width - 2);
    block = block.next();
    EXPECT_LT(block.layout()->lineAt(0).naturalTextRect().left(), 2);
}

} // namespace
} // namespace vennic::test
