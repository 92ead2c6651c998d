#include "linux/dialog/FolderPickerDesktop.h"

#include "base/LocalizedError.h"
#include "linux/dialog/DialogRequest.h"
#include "linux/dialog/FolderRequest.h"
#include "support/Await.h"
#include "support/PrivateBus.h"

#include <QDBusArgument>
#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusObjectPath>
#include <QDBusVirtualObject>
#include <QDir>
#include <QFile>
#include <QTemporaryDir>

#include <gtest/gtest.h>

namespace vennic::test {

namespace {

const QString portalName = QStringLiteral("org.freedesktop.portal.Desktop");
const QString portalPath = QStringLiteral("/org/freedesktop/portal/desktop");

/// A portal on the bus whose panel is answered as told.
class PortalDouble final : public QDBusVirtualObject {
public:
    explicit PortalDouble(const QString& address)
        : bus_(QDBusConnection::connectToBus(address, QStringLiteral("portal-double"))) {
        bus_.registerVirtualObject(portalPath, this, QDBusConnection::SubPath);
        bus_.registerService(portalName);
    }
    PortalDouble(const PortalDouble&) = delete;
    PortalDouble& operator=(const PortalDouble&) = delete;
    ~PortalDouble() override { QDBusConnection::disconnectFromBus(QStringLiteral("portal-double")); }

    QString introspect(const QString&) const override { return {}; }
    bool handleMessage(const QDBusMessage& message, const QDBusConnection& connection) override {
        if (message.member() == QLatin1String("Close")) {
            closed.append(message.path());
            return connection.send(message.createReply());
        }
        if (refuses)
            return connection.send(message.createErrorReply(QDBusError::UnknownMethod, QStringLiteral("no panel")));
        method = message.interface() + u'.' + message.member();
        title = message.arguments().value(1).toString();
        options = qdbus_cast<QVariantMap>(message.arguments().value(2));
        handle = ownHandle.isEmpty() ? portalPath + QStringLiteral("/request/%1/%2")
                                                        .arg(message.service().mid(1).replace(u'.', u'_'),
                                                             options.value(QStringLiteral("handle_token")).toString())
                                     : ownHandle;
        if (answersEarly)
            respond();
        return connection.send(message.createReply(QVariant::fromValue(QDBusObjectPath(handle))));
    }
    void respond() const {
        auto signal = QDBusMessage::createSignal(handle, QStringLiteral("org.freedesktop.portal.Request"),
                                                 QStringLiteral("Response"));
        signal << response << QVariantMap{{QStringLiteral("uris"), uris}};
        bus_.send(signal);
    }
    void leave() { bus_.unregisterService(portalName); }

    bool refuses = false;
    bool answersEarly = true; // before the call returns
    uint response = 0;
    QStringList uris;
    QString ownHandle; // that an old portal takes instead of the caller's

    QString method;
    QString title;
    QVariantMap options;
    QString handle;
    QStringList closed;

private:
    QDBusConnection bus_;
};

Task<> pickInto(FolderPickerDesktop* picker, FolderPanel panel, std::optional<QStringList>* chosen) {
    *chosen = co_await picker->pick(std::move(panel));
}

} // namespace

class FolderPickerDesktopTest : public testing::Test {
protected:
    FolderPickerDesktopTest() { qputenv("DBUS_SESSION_BUS_ADDRESS", "unix:path=/proc/no-bus"); }
    void startPortal() {
        bus_.emplace(PrivateBus::Kind::session, folder_.path());
        portal_.emplace(bus_->address());
    }
    QString path(const char* name) const { return folder_.filePath(QLatin1String(name)); }
    /// A stand-in for the dialog program, which keeps what it is told.
    void writeProgram(const QByteArray& script) {
        QFile file(path("dialog"));
        ASSERT_TRUE(file.open(QIODevice::WriteOnly));
        file.write("#!/bin/sh\ncat >" + path("told").toUtf8() + "\n" + script + "\n");
        file.setPermissions(QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
    }
    QStringList pick() { return await(picker_.pick(panel_)); }
    QString failure() {
        try {
            pick();
        } catch (const LocalizedError& error) {
            return error.errorDescription();
        }
        return QStringLiteral("none");
    }
    std::optional<FolderPanel> told() const {
        QFile file(path("told"));
        return file.open(QIODevice::ReadOnly) ? decodedFolderPanel(file.readAll()) : std::nullopt;
    }

    const FolderPanel panel_{QStringLiteral("Ajouter"), QStringLiteral("Sélectionne les « dossiers »")};
    QTemporaryDir folder_;
    std::optional<PrivateBus> bus_;
    std::optional<PortalDouble> portal_;
    bool screen_ = true;
    FolderPickerDesktop picker_{folder_.filePath(QStringLiteral("dialog")), [this] { return screen_; }};
};

TEST_F(FolderPickerDesktopTest, thePortalIsAskedForFoldersSeveralAtATime) {
    startPortal();
    portal_->uris = {QStringLiteral("file:///home/marie/%C3%89t%C3%A9%20%231"), QStringLiteral("file:///srv")};
    EXPECT_EQ(pick(), (QStringList{QStringLiteral("/home/marie/Été #1"), QStringLiteral("/srv")}));
    EXPECT_EQ(portal_->method, QStringLiteral("org.freedesktop.portal.FileChooser.OpenFile"));
    EXPECT_EQ(portal_->title, panel_.message);
    EXPECT_EQ(portal_->options.value(QStringLiteral("accept_label")).toString(), panel_.prompt);
    EXPECT_TRUE(portal_->options.value(QStringLiteral("directory")).toBool());
    EXPECT_TRUE(portal_->options.value(QStringLiteral("multiple")).toBool());
    EXPECT_TRUE(portal_->closed.isEmpty());
}

TEST_F(FolderPickerDesktopTest, anAnswerThatComesLateOrAtAnotherPlaceIsHeard) {
    startPortal();
    portal_->answersEarly = false;
    portal_->ownHandle = portalPath + QStringLiteral("/request/old/t0");
    portal_->uris = {QStringLiteral("file:///srv")};
    std::optional<QStringList> chosen;
    Scope scope;
    scope.start(pickInto(&picker_, panel_, &chosen));
    ASSERT_TRUE(waitUntil([&] { return !portal_->handle.isEmpty(); }));
    // The place is told by the call's return: said again until it is heard there.
    ASSERT_TRUE(waitUntil([&] {
        portal_->respond();
        return chosen.has_value();
    }));
    EXPECT_EQ(chosen, QStringList{QStringLiteral("/srv")});
}

TEST_F(FolderPickerDesktopTest, whatWasNotConfirmedIsNothing) {
    startPortal();
    portal_->uris = {QStringLiteral("file:///srv")};
    for (const uint response : {1U, 2U, 77U}) {
        portal_->response = response;
        EXPECT_EQ(pick(), QStringList()) << response;
    }
}

TEST_F(FolderPickerDesktopTest, onlyAddressesOfFoldersOnThisMachineAreTaken) {
    startPortal();
    portal_->uris = {QStringLiteral("https://example.com/a"), QStringLiteral("srv"),        QStringLiteral("file:srv"),
                     QStringLiteral("smb://host/share"),      QStringLiteral("%%%"),        QString(),
                     QStringLiteral("file://host/share"),     QStringLiteral("file:///srv")};
    EXPECT_EQ(pick(), QStringList{QStringLiteral("/srv")});
}

TEST_F(FolderPickerDesktopTest, whoWaitsNoMoreTakesThePanelAway) {
    startPortal();
    portal_->answersEarly = false;
    std::optional<QStringList> chosen;
    Scope scope;
    Job job = scope.start(pickInto(&picker_, panel_, &chosen));
    ASSERT_TRUE(waitUntil([&] { return !portal_->handle.isEmpty(); }));
    job.cancel();
    EXPECT_TRUE(waitUntil([&] { return portal_->closed.contains(portal_->handle); }));
}

TEST_F(FolderPickerDesktopTest, aPortalThatGoesTakesItsPanelWithIt) {
    startPortal();
    portal_->answersEarly = false;
    std::optional<QStringList> chosen;
    Scope scope;
    scope.start(pickInto(&picker_, panel_, &chosen));
    ASSERT_TRUE(waitUntil([&] { return !portal_->handle.isEmpty(); }));
    portal_->leave();
    ASSERT_TRUE(waitUntil([&] { return chosen.has_value(); }));
    EXPECT_EQ(chosen, QStringList());
}

TEST_F(FolderPickerDesktopTest, withoutAPortalOurOwnProgramIsAsked) {
    writeProgram("printf '/home/marie/\\303\\211t\\303\\251\\0/a\\nb\\0'; exit 10");
    const QStringList chosen{QStringLiteral("/home/marie/Été"), QStringLiteral("/a\nb")};
    EXPECT_EQ(pick(), chosen) << "no bus";
    EXPECT_EQ(told(), panel_);
    bus_.emplace(PrivateBus::Kind::session, folder_.path());
    EXPECT_EQ(pick(), chosen) << "nobody on the bus";
    portal_.emplace(bus_->address());
    portal_->refuses = true;
    EXPECT_EQ(pick(), chosen) << "a portal without such a panel";
}

TEST_F(FolderPickerDesktopTest, aClosedDialogChoosesNothing) {
    writeProgram("printf '/srv\\0'; exit 11");
    EXPECT_EQ(pick(), QStringList());
}

TEST_F(FolderPickerDesktopTest, aProgramThatShowsNothingIsAFailure) {
    const QString words = QStringLiteral("Le panneau de choix des dossiers ne s'ouvre pas.");
    EXPECT_EQ(failure(), words) << "there is none";
    for (const char* script : {"exit 0", "exit 12", "kill -KILL $$", "head -c 2000000 /dev/zero; exit 10"}) {
        writeProgram(script);
        EXPECT_EQ(failure(), words) << script;
    }
}

TEST_F(FolderPickerDesktopTest, withoutAScreenNothingIsAsked) {
    startPortal();
    screen_ = false;
    EXPECT_EQ(failure(), QStringLiteral("Il n'y a pas d'écran où choisir un dossier."));
    EXPECT_TRUE(portal_->method.isEmpty());
}

TEST(FolderRequest, onlyAWholeRequestOfAModestSizeIsTaken) {
    const FolderPanel panel{QStringLiteral("Ajouter"), QStringLiteral("Où ?")};
    const QByteArray json = encoded(panel);
    EXPECT_EQ(decodedFolderPanel(json), panel);
    EXPECT_EQ(decodedDialogRequest(json), std::nullopt);
    for (const QByteArray& bytes :
         {QByteArray(), QByteArray("{}"), QByteArray(R"({"folderPrompt":1,"folderMessage":""})"), json.chopped(1),
          QByteArray(DialogRequest::mostBytes, ' ') + json})
        EXPECT_EQ(decodedFolderPanel(bytes), std::nullopt) << bytes.left(80).toStdString();
}

TEST(FolderRequest, aChoiceKeepsEveryPath) {
    const QStringList paths{QStringLiteral("/"), QStringLiteral("/a\nb"), QStringLiteral("/É")};
    EXPECT_EQ(decodedChoice(encodedChoice(paths)), paths);
    EXPECT_EQ(decodedChoice({}), QStringList());
    EXPECT_EQ(decodedChoice(QByteArray("relative\0/kept", 14)), QStringList{QStringLiteral("/kept")});
}

} // namespace vennic::test
