#include "screen/ScreenFixture.h"

#include <QGuiApplication>
#include <QKeyEvent>

namespace vennic::test {

ScreenFixture::ScreenFixture() = default;

ScreenFixture::~ScreenFixture() {
    builtScreen.reset();
    settings.reset();
    menuBar.reset();
    picker.reset();
    chat.reset();
}

ScreenQml& ScreenFixture::screen() {
    if (!builtScreen) {
        chat = std::make_unique<ChatView>(ChatView::Surroundings{session(), http, config, clock, local});
        catalog = std::make_unique<CloudCatalog>(http, config, clock);
        picker = std::make_unique<ProviderPicker>(ProviderPicker::Surroundings{
            session(), *catalog, [ids = downloaded] { return *ids; }, [this] { ++modelsManaged; }});
        menuBar = std::make_unique<MenuBarView>(
            MenuBarView::Surroundings{.session = session(),
                                      .bridge = *world.service,
                                      .http = http,
                                      .config = config,
                                      .bodies = bodies,
                                      .openURL = [this](const QUrl& url) { opened.push_back(url); },
                                      .openSettings = [this] { ++settingsOpened; },
                                      .terminate = [this] { ++quits; }});
        settings = std::make_unique<SettingsView>(
            store,
            GeneralSettingsTab::Surroundings{.session = session(),
                                             .store = store,
                                             .keychain = keychain,
                                             .http = http,
                                             .config = config,
                                             .clock = clock,
                                             .openURL = [this](const QUrl& url) { opened.push_back(url); },
                                             .pasteboard = [this] { return copied; }},
            BridgeSettingsView::Surroundings{.session = session(),
                                             .bookmarks = world.grants,
                                             .bridge = *world.service,
                                             .folders = world.bookmarks,
                                             .files = *world.files,
                                             .picker = folderPicker,
                                             .clock = clock},
            runtime.surroundings(session(), http, config, clock));
        builtScreen = std::make_unique<ScreenQml>(
            Screen::Surroundings{session(), *menuBar, *chat, *picker, *settings, appearance,
                                 [this](const QString& address) { followed.append(address); },
                                 [this](quint64 window) { presented.push_back(window); }});
    }
    return *builtScreen;
}

PopoverWindow& ScreenFixture::popover() {
    if (!screen().isPopoverShown()) {
        screen().showPopover({});
        waitUntil([this] { return screen().popover()->isActive(); });
        paint();
    }
    return *screen().popover();
}

QQuickItem* ScreenFixture::item(const char* name) { return root().findChild<QQuickItem*>(QLatin1String(name)); }

void ScreenFixture::paint() {
    for (int turn = 0; turn < 10; ++turn) {
        QCoreApplication::sendPostedEvents();
        QCoreApplication::processEvents();
    }
}

QImage ScreenFixture::picture() {
    popover();
    paint();
    return popover().grabWindow();
}

void ScreenFixture::say(ChatMessage::Role role, const QString& text) {
    session().appendMessage(ChatMessage::make(role, text, clock.now()));
}

void ScreenFixture::press(int key, Qt::KeyboardModifiers modifiers, const QString& text) {
    for (const auto type : {QEvent::KeyPress, QEvent::KeyRelease}) {
        QKeyEvent event(type, key, modifiers, text);
        QCoreApplication::sendEvent(&popover(), &event);
    }
    paint();
}

void ScreenFixture::type(const QString& text) {
    for (const QChar c : text)
        press(0, Qt::NoModifier, c);
}

} // namespace vennic::test
