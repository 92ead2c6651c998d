#pragma once
#include "Bridge/BridgeWorld.h"
#include "app/screen/ScreenQml.h"
#include "core/SessionFixture.h"
#include "fakes/DesktopAppearanceFake.h"
#include "fakes/DirectLocalChatFake.h"
#include "fakes/FolderPickerFake.h"
#include "support/LocalRuntimeWorld.h"

#include <QImage>
#include <QQuickItem>

namespace vennic::test {

/// The screen with a session and all that it shows in memory.
struct ScreenFixture : SessionFixture {
    BridgeWorld world;
    TestClock clock;
    DesktopAppearanceFake appearance;
    DirectLocalChatFake local{[this]() -> AppSession& { return session(); }};
    std::shared_ptr<QSet<QString>> downloaded = std::make_shared<QSet<QString>>(); // read on the pool
    QStringList followed;
    std::vector<QUrl> opened;
    std::vector<quint64> presented; // windows that came up
    int quits = 0;
    int settingsOpened = 0;
    std::vector<MenuBarView::Content> bodies{MenuBarView::Content::chat};
    std::unique_ptr<ChatView> chat;
    std::unique_ptr<CloudCatalog> catalog;
    std::unique_ptr<ProviderPicker> picker;
    std::unique_ptr<MenuBarView> menuBar;
    FolderPickerFake folderPicker;
    LocalRuntimeWorld runtime;
    int modelsManaged = 0; // how often the picker led to their settings
    QString copied;        // on the pasteboard
    std::unique_ptr<SettingsView> settings;
    std::unique_ptr<ScreenQml> builtScreen;

    ScreenFixture();
    ~ScreenFixture() override;

    ScreenQml& screen();
    /// Shows the popover and waits until it has the keyboard.
    PopoverWindow& popover();
    QQuickItem& root() { return *popover().rootObject(); }
    /// The item of that object name, anywhere in the popover.
    QQuickItem* item(const char* name);
    /// Runs the event loop until what was asked for is painted.
    static void paint();
    QImage picture();
    void say(ChatMessage::Role role, const QString& text);
    void user(const QString& text) { say(ChatMessage::Role::user, text); }
    void assistant(const QString& text) { say(ChatMessage::Role::assistant, text); }
    void press(int key, Qt::KeyboardModifiers modifiers = Qt::NoModifier, const QString& text = {});
    void type(const QString& text);
};

} // namespace vennic::test
