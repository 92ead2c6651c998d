#include "app/Surfaces.h"

#include "linux/FolderUsagePosix.h"
#include "linux/SpareMemory.h"
#include "localllm/LocalLLMCatalog.h"

#include <QClipboard>
#include <QDir>
#include <QGuiApplication>

namespace vennic {

Surfaces::Surfaces(Surroundings surroundings)
    : with_(std::move(surroundings)), catalog_(with_.client.http(), with_.client.config(), clock_),
      picker_({.session = with_.client.session(),
               .catalog = catalog_,
               .downloadedIds = [home = QDir::homePath()] { return LocalLLMCatalog::downloadedIds(home); },
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
                 .clock = clock_},
                {.session = with_.client.session(),
                 .http = with_.client.http(),
                 .config = with_.client.config(),
                 .installer = with_.client.localLLMInstaller(),
                 .home = QDir::homePath(),
                 .usage = std::make_shared<FolderUsagePosix>(),
                 .memory = with_.client.memory(),
                 .workspace = with_.client.workspace(),
                 .clock = clock_,
                 .openURL = [this](const QUrl& url) { openURL(url); }}),
      host_(
          [this] {
              return ScreenHost::load(with_.screenModule, {.session = with_.client.session(),
                                                           .menuBar = menuBar_,
                                                           .chat = with_.client.chat(),
                                                           .picker = picker_,
                                                           .settings = settings_,
                                                           .appearance = with_.appearance,
                                                           .followLink = with_.followLink,
                                                           .presented = with_.presented});
          },
          [] { returnAllSpareMemory(); }) {
    CloudCatalog::install(&catalog_);
}

Surfaces::~Surfaces() { CloudCatalog::install(nullptr); }

void Surfaces::openURL(const QUrl& url) { with_.followLink(QString::fromLatin1(url.toEncoded())); }

} // namespace vennic
