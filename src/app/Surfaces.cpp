#include "app/Surfaces.h"

#include "Bridge/PhotoOpener.h"
#include "backend/MessageBubble.h"
#include "base/Pool.h"
#include "linux/SpareMemory.h"
#include "localllm/LocalLLMCatalog.h"

#include <QClipboard>
#include <QDir>
#include <QGuiApplication>

namespace vennic {

namespace {

void openOnTheDesktop(std::stop_token stop, const std::shared_ptr<Workspace>& workspace, const QString& path) {
    workspace->open(path, std::move(stop));
}

void openInBrowser(std::stop_token stop, const std::shared_ptr<Workspace>& workspace, const QString& url) {
    workspace->openURL(url, std::move(stop));
}

} // namespace

Surfaces::Surfaces(Surroundings surroundings)
    : with_(std::move(surroundings)), catalog_(with_.client.http(), with_.client.config(), clock_),
      picker_({.session = with_.client.session(),
               .catalog = catalog_,
               .downloadedIds = [] { return LocalLLMCatalog::downloadedIds(QDir::homePath()); },
               .manageModels = with_.manageModels}),
      menuBar_({.session = with_.client.session(),
                .bridge = with_.client.bridge(),
                .http = with_.client.http(),
                .config = with_.client.config(),
                .bodies = {MenuBarView::Content::chat},
                .openURL = [this](const QUrl& url) { openURL(url); },
                .openSettings = with_.openSettings,
                .terminate = with_.terminate}),
      settings_(with_.client.preferences(),
                {.session = with_.client.session(),
                 .store = with_.client.preferences(),
                 .keychain = with_.client.keychain(),
                 .http = with_.client.http(),
                 .config = with_.client.config(),
                 .clock = clock_,
                 .openURL = [this](const QUrl& url) { openURL(url); },
                 .pasteboard = [] { return QGuiApplication::clipboard()->text(); }},
                {.session = with_.client.session(),
                 .bookmarks = with_.client.bookmarks(),
                 .bridge = with_.client.bridge(),
                 .folders = with_.client.sharedFolders(),
                 .files = with_.client.files(),
                 .picker = with_.client.folderPicker(),
                 .clock = clock_}),
      host_(
          [this] {
              return ScreenHost::load(with_.screenModule, {.session = with_.client.session(),
                                                           .menuBar = menuBar_,
                                                           .chat = with_.client.chat(),
                                                           .picker = picker_,
                                                           .settings = settings_,
                                                           .appearance = with_.appearance,
                                                           .followLink = [this](const QUrl& url) { followLink(url); },
                                                           .presented = with_.presented});
          },
          [] { returnAllSpareMemory(); }) {
    CloudCatalog::install(&catalog_);
}

Surfaces::~Surfaces() { CloudCatalog::install(nullptr); }

void Surfaces::followLink(const QUrl& url) {
    const MessageBubble::LinkActions actions{
        .openDocument =
            [this](const QString& id) {
                if (const auto file = with_.client.bridge().idCache().get(id))
                    jobs_.start(openDocument(file->path));
            },
        .openPhoto = [this](const QString& id) { jobs_.start(openPhoto(id)); },
    };
    if (!MessageBubble::handleURL(url, actions))
        openURL(url);
}

void Surfaces::openURL(const QUrl& url) { jobs_.start(openAddress(QString::fromLatin1(url.toEncoded()))); }

Task<> Surfaces::openDocument(QString path) {
    try {
        co_await onPoolWaiting(openOnTheDesktop, with_.client.workspace(), path);
    } catch (const LocalizedError& error) {
        with_.client.warn(QStringLiteral("Vennic"), error.errorDescription());
    }
}

Task<> Surfaces::openAddress(QString url) {
    try {
        co_await onPoolWaiting(openInBrowser, with_.client.workspace(), url);
    } catch (const LocalizedError& error) {
        with_.client.warn(QStringLiteral("Vennic"), error.errorDescription());
    }
}

Task<> Surfaces::openPhoto(QString percentEncodedIdentifier) {
    const PhotoOpener opener(with_.client.sharedPhotos(), with_.client.workspace(), with_.client.dialogs());
    co_await opener.open(std::move(percentEncodedIdentifier));
}

} // namespace vennic
