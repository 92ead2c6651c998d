#include "Bridge/LocalToolRegistry.h"

namespace vennic {

LocalToolRegistry::LocalToolRegistry(const Surroundings& with)
    : documents_(SharedFolderSearch(BookmarkPersistence(with.store), with.bookmarks,
                                    SpotlightSearch(with.index, with.files, with.types, with.clock), with.idCache),
                 SharedDocuments(BookmarkPersistence(with.store), with.bookmarks, with.idCache),
                 DocumentExtractor(with.reader, with.types, with.files), OcrEngine(with.recognizer, with.files)),
      folders_(BookmarkPersistence(with.store), with.bookmarks, with.files, with.idCache),
      photos_(PhotosBridgeHandler(with.photos, with.clock)),
      actions_(ScreenControlBridgeHandler(with.workspace, with.automations)) {}

bool LocalToolRegistry::isToolCapable(const QString& model) {
    const QString lowered = model.toLower();
    return lowered.contains(QLatin1String("qwen3")) || lowered.contains(QLatin1String("qwen2.5"));
}

Task<QString> LocalToolRegistry::dispatch(QString name, QString argumentsJSON) {
    try {
        co_return co_await run(std::move(name), LocalToolArguments(argumentsJSON));
    } catch (const Cancelled&) {
        throw;
    } catch (const std::exception& error) { // a service that failed as none of its kind is expected to
        co_return localizedDescription(error);
    }
}

Task<QString> LocalToolRegistry::run(QString name, LocalToolArguments arguments) {
    if (name == QLatin1String("search_local_documents"))
        co_return co_await documents_.searchLocalDocuments(std::move(arguments));
    if (name == QLatin1String("read_local_document"))
        co_return co_await documents_.readLocalDocument(std::move(arguments));
    if (name == QLatin1String("list_local_folders"))
        co_return co_await folders_.listLocalFolders();
    if (name == QLatin1String("browse_local_folder"))
        co_return co_await folders_.browseLocalFolder(std::move(arguments));
    if (name == QLatin1String("list_recent_photos"))
        co_return co_await photos_.listRecentPhotos(std::move(arguments));
    if (name == QLatin1String("list_photos_from_date"))
        co_return co_await photos_.listPhotosFromDate(std::move(arguments));
    if (name == QLatin1String("open_app"))
        co_return co_await actions_.openApp(std::move(arguments));
    if (name == QLatin1String("list_shortcuts"))
        co_return co_await actions_.listShortcuts();
    if (name == QLatin1String("run_shortcut"))
        co_return co_await actions_.runShortcut(std::move(arguments));
    if (name == QLatin1String("ocr_local_image"))
        co_return co_await documents_.ocrLocalImage(std::move(arguments));
    co_return QStringLiteral("Unknown tool: ") + name;
}

} // namespace vennic
