#include "linux/desktop/DesktopAppearancePortal.h"
#include "support/Await.h"
#include "support/PrivateBus.h"

#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusVariant>
#include <QDBusVirtualObject>
#include <QFile>
#include <QTemporaryDir>

#include <gtest/gtest.h>

namespace vennic::test {
namespace {

/// The settings portal, saying what it is told.
class StandInPortal final : public QDBusVirtualObject {
public:
    explicit StandInPortal(const QString& address)
        : connection_(QDBusConnection::connectToBus(address, QStringLiteral("portal"))) {
        EXPECT_TRUE(connection_.registerVirtualObject(QStringLiteral("/org/freedesktop/portal/desktop"), this));
        EXPECT_TRUE(connection_.registerService(QStringLiteral("org.freedesktop.portal.Desktop")));
    }
    ~StandInPortal() override { QDBusConnection::disconnectFromBus(QStringLiteral("portal")); }

    void change(const QString& group, const QString& key, const QVariant& value) {
        // Who asks only now hears the same.
        if (group == u"org.freedesktop.appearance")
            scheme = value.toUInt();
        else if (group == u"org.gnome.desktop.interface")
            animations = value.toBool();
        QDBusMessage signal = QDBusMessage::createSignal(QStringLiteral("/org/freedesktop/portal/desktop"),
                                                         QStringLiteral("org.freedesktop.portal.Settings"),
                                                         QStringLiteral("SettingChanged"));
        signal.setArguments({group, key, QVariant::fromValue(QDBusVariant(value))});
        connection_.send(signal);
    }

    uint scheme = 0;
    bool animations = true;

    QString introspect(const QString&) const override { return {}; }
    bool handleMessage(const QDBusMessage& message, const QDBusConnection& connection) override {
        const QString key = message.arguments().value(1).toString();
        const QVariant value = key == u"color-scheme" ? QVariant(scheme) : QVariant(animations);
        // As the portal does it: a variant within a variant.
        return connection.send(
            message.createReply(QVariant::fromValue(QDBusVariant(QVariant::fromValue(QDBusVariant(value))))));
    }

private:
    QDBusConnection connection_;
};

struct DesktopAppearanceTest : ::testing::Test {
    QTemporaryDir folder;
    PrivateBus bus{PrivateBus::Kind::session, folder.path()};
    std::unique_ptr<StandInPortal> portal;
    QStringList gtk;
    int changes = 0;
    std::unique_ptr<DesktopAppearancePortal> appearance;

    void writeGtk(const QByteArray& lines) {
        gtk = {folder.filePath(QStringLiteral("settings.ini"))};
        QFile file(gtk.first());
        EXPECT_TRUE(file.open(QIODevice::WriteOnly));
        file.write("[Settings]\n" + lines);
    }
    DesktopAppearancePortal& made() {
        appearance = std::make_unique<DesktopAppearancePortal>(
            QDBusConnection::connectToBus(bus.address(), QStringLiteral("appearance-test")), gtk);
        appearance->follow([this] { ++changes; });
        return *appearance;
    }
    ~DesktopAppearanceTest() override {
        appearance.reset();
        QDBusConnection::disconnectFromBus(QStringLiteral("appearance-test"));
    }
};

TEST_F(DesktopAppearanceTest, whatThePortalPrefersIsTaken) {
    portal = std::make_unique<StandInPortal>(bus.address());
    portal->scheme = 1;
    portal->animations = false;
    made();
    EXPECT_TRUE(waitUntil([&] { return appearance->isDark() && !appearance->isAnimated(); }));
    EXPECT_EQ(changes, 2);
}

TEST_F(DesktopAppearanceTest, aChangeIsFollowed) {
    portal = std::make_unique<StandInPortal>(bus.address());
    portal->scheme = 1;
    made();
    ASSERT_TRUE(waitUntil([&] { return appearance->isDark(); }));
    portal->change(QStringLiteral("org.freedesktop.appearance"), QStringLiteral("color-scheme"), 2U);
    EXPECT_TRUE(waitUntil([&] { return !appearance->isDark(); }));
    portal->change(QStringLiteral("org.gnome.desktop.interface"), QStringLiteral("enable-animations"), false);
    EXPECT_TRUE(waitUntil([&] { return !appearance->isAnimated(); }));
    portal->change(QStringLiteral("org.example"), QStringLiteral("color-scheme"), 1U);
    portal->change(QStringLiteral("org.freedesktop.appearance"), QStringLiteral("color-scheme"), 1U);
    EXPECT_TRUE(waitUntil([&] { return appearance->isDark(); }));
    EXPECT_EQ(changes, 4);
}

TEST_F(DesktopAppearanceTest, aPortalThatComesLaterIsAsked) {
    EXPECT_FALSE(made().isDark());
    portal = std::make_unique<StandInPortal>(bus.address());
    portal->scheme = 1;
    EXPECT_TRUE(waitUntil([&] { return appearance->isDark(); }));
}

TEST_F(DesktopAppearanceTest, withoutAPortalGtksSettingsCount) {
    EXPECT_FALSE(made().isDark());
    writeGtk("gtk-application-prefer-dark-theme=1\n");
    EXPECT_TRUE(made().isDark());
    writeGtk("gtk-application-prefer-dark-theme=0\ngtk-theme-name=Adwaita-dark\n");
    EXPECT_TRUE(made().isDark());
    writeGtk("gtk-theme-name=Adwaita\n");
    EXPECT_FALSE(made().isDark());
}

TEST_F(DesktopAppearanceTest, withoutAPreferenceOfThePortalGtksSettingsCount) {
    writeGtk("gtk-application-prefer-dark-theme=true\n");
    portal = std::make_unique<StandInPortal>(bus.address());
    portal->animations = false;
    made();
    ASSERT_TRUE(waitUntil([&] { return !appearance->isAnimated(); }));
    EXPECT_TRUE(appearance->isDark());
}

TEST(DesktopAppearance, withoutABusIsLight) {
    const DesktopAppearancePortal appearance(
        QDBusConnection::connectToBus(QStringLiteral("unix:path=/proc/no-bus"), QStringLiteral("nowhere")), {});
    EXPECT_FALSE(appearance.isDark());
    EXPECT_TRUE(appearance.isAnimated());
}

} // namespace
} // namespace vennic::test
