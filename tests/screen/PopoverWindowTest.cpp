#include "base/LocalizedError.h"
#include "screen/ScreenFixture.h"

#include <QQmlAbstractUrlInterceptor>

namespace vennic::test {
namespace {

struct PopoverWindowTest : ScreenFixture {};

/// Finds nothing of that name.
struct Withheld final : QQmlAbstractUrlInterceptor {
    QString name;
    explicit Withheld(const char* file) : name(QLatin1String(file)) {}
    QUrl intercept(const QUrl& url, DataType) override {
        return url.fileName() == name ? QUrl(QStringLiteral("qrc:/gone")) : url;
    }
};

TEST_F(PopoverWindowTest, aPopoverThatCannotBeMadeIsNoneAndTheNextOneIsWhole) {
    Withheld withheld("Popover.qml");
    screen().engine().addUrlInterceptor(&withheld);
    EXPECT_THROW(screen().showPopover({}), LocalizedError);
    EXPECT_EQ(screen().popover(), nullptr);
    EXPECT_FALSE(screen().isPopoverShown());
    EXPECT_THROW(screen().showPopover({}), LocalizedError) << "it doesn't count as made";
    screen().engine().removeUrlInterceptor(&withheld);
    screen().engine().clearComponentCache();
    type(QStringLiteral("été"));
    EXPECT_EQ(chat->draft(), QStringLiteral("été"));
}

TEST_F(PopoverWindowTest, eachWindowThatComesUpIsTold) {
    popover();
    EXPECT_EQ(presented, std::vector<quint64>{screen().popover()->winId()});
    screen().showSettings();
    screen().showSettings();
    EXPECT_EQ(presented.size(), 3u);
    EXPECT_EQ(presented.back(), screen().settings()->winId());
}

TEST_F(PopoverWindowTest, thePillOfTheModesMovesAsTheSpringThatItIs) {
    bodies = {MenuBarView::Content::chat, MenuBarView::Content::microphone};
    popover();
    const double spring = item("pill")->property("spring").toDouble();
    const double damping = item("pill")->property("damping").toDouble();
    double place = 0;
    double velocity = 0;
    double furthest = 0;
    double arrival = 0;
    for (double time = 0; time < 1; time += 0.016) { // as the toolkit goes
        velocity += spring * (1 - place) - damping * velocity;
        place += velocity * 0.016;
        furthest = std::max(furthest, place);
        if (place < 1 && furthest < 1)
            arrival = time;
    }
    // A damping fraction of 0.8 swings over by 1.5 %; with a response of 0.35 s it first arrives after 0.23 s.
    EXPECT_NEAR(furthest, 1.0152, 0.001);
    EXPECT_NEAR(arrival, 0.22, 0.02);
}

TEST_F(PopoverWindowTest, itComesUpByDegreesAndInTheEndAsAWhole) {
    PopoverWindow window(&screen().engine(), true);
    window.appear({}, true);
    EXPECT_LT(window.opacity(), 0.5);
    EXPECT_TRUE(waitUntil([&] { return window.opacity() == 1; }));
    window.hide();
    window.appear({}, true);
    window.hide();
    window.appear({}, false);
    EXPECT_EQ(window.opacity(), 1);
    EXPECT_FALSE(window.canFade()) << "there is nobody to do it here";
}

} // namespace
} // namespace vennic::test
