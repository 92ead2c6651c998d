#include "Bridge/ResolvedShare.h"

#include "base/LocalizedError.h"
#include "support/Await.h"

#include <gtest/gtest.h>
#include <semaphore>

using namespace vennic;

namespace {

/// Bookmarks that hold a path. The one of "/slow" isn't resolved before it is told to.
class SlowBookmarks final : public FolderBookmarks {
public:
    QByteArray create(const QString& path) override { return path.toUtf8(); }
    ResolvedFolder resolve(const QByteArray& bookmark) override {
        if (bookmark == "/slow")
            goOn.acquire();
        if (bookmark == "/lost")
            throw LocalizedError(QStringLiteral("Le dossier partagé est introuvable."));
        return {QString::fromUtf8(bookmark), false};
    }
    bool startAccessing(const QString&) override { return true; }
    void stopAccessing(const QString&) override {}

    std::binary_semaphore goOn{0};
};

std::vector<BookmarkEntry> grantsOf(std::initializer_list<const char*> paths) {
    std::vector<BookmarkEntry> grants;
    for (const char* path : paths)
        grants.push_back({QUuid::createUuid(), path, QString::fromLatin1(path), {}});
    return grants;
}

} // namespace

TEST(ResolvedShare, eachGrantComesInOrderWithItsFolderOrNone) {
    const auto grants = grantsOf({"/a", "/lost", "/b"});
    const auto shares = test::await(resolvedShares(std::make_shared<SlowBookmarks>(), grants));
    ASSERT_EQ(shares.size(), 3U);
    for (std::size_t at = 0; at < shares.size(); ++at)
        EXPECT_EQ(shares[at].grant, grants[at]);
    EXPECT_EQ(shares[0].folder, FileURL{QStringLiteral("/a")});
    EXPECT_EQ(shares[1].folder, std::nullopt);
    EXPECT_EQ(shares[2].folder, FileURL{QStringLiteral("/b")});
}

TEST(ResolvedShare, theEventLoopGoesOnWhileAFolderIsLookedFor) {
    const auto folders = std::make_shared<SlowBookmarks>();
    // Only the loop itself lets the resolving end: on the main thread this would never return.
    QTimer::singleShot(0, [folders] { folders->goOn.release(); });
    EXPECT_EQ(test::await(resolvedShares(folders, grantsOf({"/slow"}))).size(), 1U);
}
