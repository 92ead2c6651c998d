#pragma once
#include "Bridge/LocalActionTools.h"
#include "Bridge/LocalDocumentTools.h"
#include "Bridge/LocalFolderTools.h"
#include "Bridge/LocalPhotoTools.h"
#include "ports/FileIndex.h"

#include <QJsonArray>

namespace vennic {

/// The tools that a local model may call in a direct conversation. They reach what the bridge's tasks reach and speak
/// in plain text. Main thread only.
class LocalToolRegistry {
public:
    /// All that the tools work with. What is named by reference outlives them; what is shared may be in use on the pool
    /// a little longer than they live.
    struct Surroundings {
        KeyValueStore& store;
        FileIndex& index;
        Clock& clock;
        BridgeIDCache& idCache; // the bridge's: a handle of a tool's and one of a task's are the same thing
        std::shared_ptr<FolderBookmarks> bookmarks;
        std::shared_ptr<FileSystem> files;
        std::shared_ptr<FileTypes> types;
        std::shared_ptr<DocumentReader> reader;
        std::shared_ptr<TextRecognizer> recognizer;
        std::shared_ptr<PhotoLibrary> photos;
        std::shared_ptr<Workspace> workspace;
        std::shared_ptr<AutomationTool> automations;
    };

    explicit LocalToolRegistry(const Surroundings& with);

    /// The ten tools as the function-calling form of the chat completions API has them.
    static QJsonArray schemas();
    /// Whether a model is known to call tools well enough to be offered any.
    static bool isToolCapable(const QString& model);

    /// Runs the tool of that name; `argumentsJSON` is the model's text. Whatever happens, the result is a text for the
    /// model. Fails with Cancelled alone.
    Task<QString> dispatch(QString name, QString argumentsJSON);

private:
    Task<QString> run(QString name, LocalToolArguments arguments);

    LocalDocumentTools documents_;
    LocalFolderTools folders_;
    LocalPhotoTools photos_;
    LocalActionTools actions_;
};

} // namespace vennic
