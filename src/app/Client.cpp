#include "app/Client.h"

#include "Bridge/BookmarkResolver.h"
#include "backend/PinnedRoots.h"
#include "linux/CredentialStoreChoice.h"

#include <QSysInfo>

namespace vennic {

Client::Client(const Paths& paths, Deployment deployment)
    : preferences_(paths.data + QStringLiteral("/preferences.sqlite")),
      credentials_(makeCredentialStore(paths.data + QStringLiteral("/credentials.json"), presence_)),
      keychain_(*credentials_, preferences_),
      http_(transport_, deployment.apiHost, loadPinnedRoots(paths.resources + QStringLiteral("/pinned-roots.pem"))),
      config_(preferences_, std::move(deployment)), files_(std::make_shared<FileSystemPosix>()),
      types_(std::make_shared<FileTypesShared>()), folders_(std::make_shared<FolderBookmarksInode>()),
      reader_(std::make_shared<DocumentReaderWorker>(paths.programs + QStringLiteral("/vennic-worker"))),
      index_(std::make_unique<FileIndexSegments>(paths.cache + QStringLiteral("/index"))),
      bookmarks_(preferences_, *folders_, *files_, clock_), spotlight_(*index_, files_, types_, clock_) {
    indexSharedFolders();
    QObject::connect(&bookmarks_, &BookmarkStore::entriesChanged, &bookmarks_, [this] { indexSharedFolders(); });
}

Client::~Client() {
    AppSession::install(nullptr);
    BridgeService::install(nullptr);
    BookmarkStore::install(nullptr);
}

} // namespace vennic
