#pragma once
#include "base/Clock.h"
#include "base/Waiters.h"
#include "localllm/InstallError.h"
#include "localllm/RuntimePaths.h"
#include "ports/ServiceManager.h"

#include <functional>
#include <optional>
#include <vector>

namespace vennic {

/// Puts the local model's server on this machine and keeps it running: uv by Homebrew, mlx-lm by uv, a service of the
/// user's. It keeps nothing: the disk says what is there. What it does is told in French lines as it goes along. It
/// doesn't keep two installations apart: whoever starts them does.
///
/// Main thread; it outlives the tasks that it gives. Cancelling one of them ends the command that runs, but for a
/// reload: see there.
class LocalLLMInstaller {
public:
    /// Hears a line at a time, on the main thread, in order and before the task ends. Lines of a command are what it
    /// wrote between two line feeds, and no more than 64 KiB of it: never empty, perhaps with carriage returns.
    using OnLine = std::function<void(const QString& line)>;

    struct Component {
        QString id; // "brew", "uv", "mlx", "plist"
        QString label;
        bool installed = false;
        std::optional<QString> detail; // its path
        bool operator==(const Component&) const = default;
    };
    struct Status {
        std::vector<Component> components; // in the order of the ids above
        bool operator==(const Status&) const = default;
    };

    struct Surroundings {
        RuntimePaths paths;
        ProgramRunner& programs;
        const ServiceManager& services;
        Clock& clock;
        QString packageManagerSite;
    };

    explicit LocalLLMInstaller(Surroundings surroundings);

    const RuntimePaths& paths() const { return surroundings_.paths; }
    /// What is on disk now.
    Status detect() const;
    /// The first of these paths that exists.
    static std::optional<QString> firstExisting(const QStringList& paths);

    /// Installs what is missing, writes the service and loads it. The server loads the model that each request names,
    /// so `model` is written nowhere. Raises InstallError, and LocalizedError for a file that can't be written or a
    /// command that can't be started; what was done before stays.
    Task<> install(QString model, OnLine onLine);
    /// Writes the service's file, over an earlier one. Raises LocalizedError.
    void writeLaunchAgent(const QString& model) const;
    /// Has the service manager read the file and start the server anew, with a new log when the old one, which is then
    /// beside it under a name that ends in ".1", is longer than 8 MiB. Once it has begun, cancelling its job is not
    /// heeded: the server would be left stopped. Raises InstallError and LocalizedError, and Cancelled when it is
    /// cancelled before it begins or given up.
    Task<> reloadLaunchAgent(OnLine onLine);
    bool isReloading() const { return reloads_ > 0; }
    /// Awaits the end of the reloads that run. Raises Cancelled.
    Task<> reloaded();
    /// Ends the reloads that run, whatever becomes of the server: for a service manager that doesn't answer.
    void giveUpReload();
    /// Downloads a model by having it generate a single token, which proves that it loads; needs uv alone. Raises
    /// InstallError and LocalizedError.
    Task<> downloadModel(QString id, OnLine onLine);

private:
    Task<> run(ProgramCommand command, OnLine onLine);
    Task<> runWhateverComesOfIt(ProgramCommand command, OnLine onLine);
    UserService service() const;

    Surroundings surroundings_;
    int reloads_ = 0; // that run
    std::stop_source givingUp_;
    Waiters<> whoAwaitsReloads_;
};

} // namespace vennic
