#include "app/screen/ScreenQml.h"

#include "app/screen/FrenchSpacing.h"
#include "app/screen/LogDocument.h"
#include "app/screen/MessageDocument.h"
#include "app/screen/SymbolProvider.h"
#include "backend/MessageBubble.h"
#include "base/LocalizedError.h"
#include "base/ShownText.h"

#include <QFontDatabase>
#include <QGuiApplication>
#include <QQmlComponent>
#include <QQmlError>
#include <QQuickItem>

namespace vennic {

namespace {

void registerTypes() {
    qmlRegisterType<MessageDocument>("Vennic", 1, 0, "MessageDocument");
    qmlRegisterType<LogDocument>("Vennic", 1, 0, "LogDocument");
    qmlRegisterSingletonType<FrenchSpacing>("Vennic", 1, 0, "FrenchSpacing",
                                            [](QQmlEngine*, QJSEngine*) { return new FrenchSpacing; });
    qRegisterMetaType<std::vector<MarkdownRun>>();
}

void chooseFont() {
    QFont font = QGuiApplication::font();
    if (QFontDatabase::families().contains(QStringLiteral("Inter")))
        font.setFamilies({QStringLiteral("Inter")});
    font.setPixelSize(13);
    QGuiApplication::setFont(font);
}

[[noreturn]] void giveUp(const QList<QQmlError>& errors) {
    for (const QQmlError& error : errors)
        qWarning("%s", qUtf8Printable(error.toString()));
    throw LocalizedError(QStringLiteral("L'écran de Vennic n'a pas pu être construit."));
}

void load(QQuickView& view, const QString& file, const QVariantMap& properties) {
    view.setInitialProperties(properties);
    view.setSource(QUrl(QStringLiteral("qrc:/Vennic/") + file));
    if (view.status() != QQuickView::Ready)
        giveUp(view.errors());
}

/// The singleton that holds the look of everything.
QObject* themeOf(QQmlEngine& engine) {
    QQmlComponent asking(&engine);
    asking.setData("import QtQml\nimport Vennic\nQtObject { readonly property QtObject theme: Theme }",
                   QUrl(QStringLiteral("qrc:/Vennic/Asking.qml")));
    const std::unique_ptr<QObject> asked(asking.create());
    if (!asked)
        giveUp(asking.errors());
    return qvariant_cast<QObject*>(asked->property("theme"));
}

QVariant object(QObject* object) { return QVariant::fromValue(object); }

} // namespace

ScreenQml::ScreenQml(Surroundings surroundings)
    : with_(std::move(surroundings)), transcript_(with_.session), links_(with_.session, with_.followLink),
      picker_(with_.picker) {
    registerTypes();
    chooseFont();
    if (QQuickWindow::graphicsApi() != QSGRendererInterface::Software)
        QQuickWindow::setGraphicsApi(QSGRendererInterface::Software);
    engine_.addImageProvider(QStringLiteral("symbols"), new SymbolProvider);
    theme_ = themeOf(engine_);
    followAppearance();
    with_.appearance.follow([this] { followAppearance(); });
    connect(&with_.session, &AppSession::isStreamingChanged, this, &ScreenQml::announceReply);
}

ScreenQml::~ScreenQml() {
    with_.appearance.follow({});
    // No word of a close that nobody asked for.
    if (popover_)
        popover_->disconnect(this);
    if (settings_)
        settings_->disconnect(this);
}

void ScreenQml::followAppearance() {
    theme_->setProperty("dark", with_.appearance.isDark());
    theme_->setProperty("animated", with_.appearance.isAnimated());
    theme_->setProperty("composited", popover_ ? popover_->isComposited() : with_.appearance.isComposited());
}

void ScreenQml::makePopover() {
    auto window = std::make_unique<PopoverWindow>(&engine_, with_.appearance.isComposited());
    load(*window, QStringLiteral("shell/Popover.qml"),
         {{QStringLiteral("menuBar"), object(&with_.menuBar)},
          {QStringLiteral("chat"), object(&with_.chat)},
          {QStringLiteral("transcript"), object(&transcript_)},
          {QStringLiteral("picker"), object(&picker_)},
          {QStringLiteral("links"), object(&links_)}});
    popover_ = std::move(window); // from here on there is one
    followAppearance();
    connect(popover_.get(), &QWindow::visibleChanged, this, [this](bool visible) {
        if (!visible)
            Q_EMIT popoverClosed();
    });
    connect(popover_.get(), &PopoverWindow::left, this, &ScreenQml::popoverLeft);
    connect(popover_.get(), &QQuickWindow::frameSwapped, this, [this] {
        if (std::exchange(unpainted_, false))
            Q_EMIT popoverPainted();
    });
}

void ScreenQml::showPopover(std::optional<QRect> anchor) {
    // A compositor that came or went since: the window's pixels are of the wrong kind.
    if (!popover_ || popover_->isComposited() != with_.appearance.isComposited())
        makePopover();
    unpainted_ = true;
    QMetaObject::invokeMethod(popover_->rootObject(), "appear");
    popover_->appear(anchor, with_.appearance.isAnimated() && popover_->canFade());
    tellPresented(*popover_);
}

void ScreenQml::closePopover() {
    if (popover_)
        popover_->hide();
}

bool ScreenQml::isPopoverShown() const { return popover_ && popover_->isVisible(); }

bool ScreenQml::isInPopover(QPoint place) const { return isPopoverShown() && popover_->pixels().contains(place); }

void ScreenQml::activatePopover() {
    if (isPopoverShown())
        popover_->requestActivate();
}

std::unique_ptr<SettingsWindow> ScreenQml::makeSettings() {
    auto view = std::make_unique<SettingsWindow>(&engine_);
    load(*view, QStringLiteral("settings/Settings.qml"), {{QStringLiteral("settings"), object(&with_.settings)}});
    return view;
}

void ScreenQml::showSettings() {
    if (!settings_) {
        settings_ = makeSettings();
        connect(settings_.get(), &QWindow::visibleChanged, this, [this](bool visible) {
            if (visible)
                return;
            with_.settings.disappear();
            Q_EMIT settingsClosed();
        });
    }
    const bool wasShown = isSettingsShown();
    with_.settings.appear();
    settings_->show();
    settings_->raise();
    settings_->requestActivate();
    tellPresented(*settings_);
    if (!wasShown)
        QMetaObject::invokeMethod(settings_->rootObject(), "appear");
}

void ScreenQml::tellPresented(const QWindow& window) const {
    if (with_.presented)
        with_.presented(window.winId());
}

void ScreenQml::raiseSettings() {
    if (!isSettingsShown())
        return;
    settings_->raise();
    if (settings_->isActive())
        return; // asking again would undo what the desktop's token has said of the time
    settings_->requestActivate();
    tellPresented(*settings_);
}

bool ScreenQml::isSettingsShown() const { return settings_ && settings_->isVisible(); }

void ScreenQml::announceReply() {
    const std::vector<ChatMessage>& messages = with_.session.messages();
    if (with_.session.isStreaming() || !isPopoverShown() || messages.empty())
        return;
    const ChatMessage& last = messages.back();
    if (last.role != ChatMessage::Role::assistant)
        return;
    QObject* const announcer = popover_->rootObject()->findChild<QObject*>(QStringLiteral("announcer"));
    if (!announcer)
        return;
    announcer->setProperty("words", shownReason(MessageBubble::plainContent(last.role, last.content)));
    // A notification that comes up: what readers of the screen say at once, wherever their user is.
    QAccessibleEvent shown(announcer, QAccessible::ObjectShow);
    QAccessible::updateAccessibility(&shown);
}

} // namespace vennic
