#include "localllm/LocalLLMInstaller.h"

#include "base/HearInstead.h"
#include "base/WholeFile.h"
#include "localllm/OutputLines.h"

#include <QFileInfo>
#include <QScopeGuard>

#include <algorithm>

namespace vennic {

namespace {

using namespace std::chrono_literals;

const QLatin1String label("com.vennic.local-llm");
constexpr auto untilTheLabelIsFree = 500ms;

QString words(const ProgramCommand& command) {
    return (QStringList{command.executable} + command.arguments).join(u' ');
}

} // namespace

LocalLLMInstaller::LocalLLMInstaller(Surroundings surroundings) : surroundings_(std::move(surroundings)) {}

std::optional<QString> LocalLLMInstaller::firstExisting(const QStringList& paths) {
    for (const QString& path : paths) {
        if (QFileInfo::exists(path))
            return path;
    }
    return std::nullopt;
}

LocalLLMInstaller::Status LocalLLMInstaller::detect() const {
    const RuntimePaths& paths = surroundings_.paths;
    const auto brew = firstExisting(paths.brew);
    const auto uv = firstExisting(paths.uv);
    const auto service = firstExisting({paths.serviceFile});
    return {{{QStringLiteral("brew"), QStringLiteral("Homebrew"), brew.has_value(), brew},
             {QStringLiteral("uv"), QStringLiteral("uv"), uv.has_value(), uv},
             {QStringLiteral("mlx"), QStringLiteral("mlx-lm"), QFileInfo::exists(paths.server), paths.server},
             {QStringLiteral("plist"), QStringLiteral("LaunchAgent"), service.has_value(), service}}};
}

Task<> LocalLLMInstaller::install(QString model, OnLine onLine) {
    const RuntimePaths& paths = surroundings_.paths;
    const Status before = detect();
    const auto isInstalled = [&before](QLatin1String id) {
        return std::ranges::any_of(
            before.components, [&](const Component& component) { return component.id == id && component.installed; });
    };
    const auto brew = firstExisting(paths.brew);
    if (!brew)
        throw InstallError::brewMissing(surroundings_.packageManagerSite);
    if (isInstalled(QLatin1String("uv"))) {
        onLine(QStringLiteral("✓ uv déjà présent"));
    } else {
        onLine(QStringLiteral("▶︎ brew install uv"));
        const ProgramCommand installUv{*brew, {QStringLiteral("install"), QStringLiteral("uv")}};
        co_await run(installUv, onLine);
    }
    // Where it isn't after all, starting it says so.
    const QString uv = firstExisting(paths.uv).value_or(paths.uv.value(0));
    if (isInstalled(QLatin1String("mlx"))) {
        onLine(QStringLiteral("✓ mlx-lm déjà installé"));
    } else {
        onLine(QStringLiteral("▶︎ uv tool install --python 3.11 mlx-lm"));
        const ProgramCommand installServer{uv,
                                           {QStringLiteral("tool"), QStringLiteral("install"),
                                            QStringLiteral("--python"), QStringLiteral("3.11"), paths.package},
                                           paths.toolVariables};
        co_await run(installServer, onLine);
    }
    onLine(QStringLiteral("▶︎ écriture du LaunchAgent"));
    writeLaunchAgent(model);
    onLine(QStringLiteral("▶︎ (re)chargement du LaunchAgent"));
    co_await reloadLaunchAgent(onLine);
    onLine(QStringLiteral("✓ Installation terminée. Le serveur démarre en arrière-plan."));
}

void LocalLLMInstaller::writeLaunchAgent(const QString&) const {
    const RuntimePaths& paths = surroundings_.paths;
    const QByteArray definition = surroundings_.services.definition(service());
    makeFolder(paths.logDirectory);
    writeWholeFile(paths.serviceFile, definition);
}

Task<> LocalLLMInstaller::reloadLaunchAgent(OnLine onLine) {
    if ((co_await StopToken{}).stop_requested())
        throw Cancelled();
    co_await HearInstead{givingUp_.get_token()};
    ++reloads_;
    const auto ended = qScopeGuard([this] {
        if (--reloads_ == 0)
            whoAwaitsReloads_.wake();
    });
    const ServiceManager& services = surroundings_.services;
    const UserService agent = service();
    co_await runWhateverComesOfIt(services.unload(agent), onLine); // it may not be loaded
    co_await surroundings_.clock.sleep(untilTheLabelIsFree);
    for (const ProgramCommand& command : services.load(agent))
        co_await run(command, onLine);
    co_await runWhateverComesOfIt(services.restart(agent), onLine);
}

Task<> LocalLLMInstaller::reloaded() {
    if (!isReloading())
        co_return;
    Waiters<>::Place place(whoAwaitsReloads_);
    co_await place.event();
}

void LocalLLMInstaller::giveUpReload() { std::exchange(givingUp_, std::stop_source{}).request_stop(); }

Task<> LocalLLMInstaller::downloadModel(QString id, OnLine onLine) {
    const RuntimePaths& paths = surroundings_.paths;
    const auto uv = firstExisting(paths.uv);
    if (!uv)
        throw InstallError::brewMissing(surroundings_.packageManagerSite);
    onLine(QStringLiteral("▶︎ Téléchargement du modèle ") + id);
    const ProgramCommand generate{*uv,
                                  {QStringLiteral("tool"), QStringLiteral("run"), QStringLiteral("--from"),
                                   paths.package, QStringLiteral("mlx_lm.generate"), QStringLiteral("--model"), id,
                                   QStringLiteral("--prompt"), QStringLiteral("hi"), QStringLiteral("--max-tokens"),
                                   QStringLiteral("1")},
                                  paths.toolVariables};
    co_await run(generate, onLine);
    onLine(QStringLiteral("✓ Modèle ") + id + QStringLiteral(" téléchargé."));
}

Task<> LocalLLMInstaller::run(ProgramCommand command, OnLine onLine) {
    const QString told = words(command);
    const ProgramRunner::OnOutput hear = [onLine = std::move(onLine)](const QByteArray& piece) {
        for (const QString& line : outputLines(piece))
            onLine(line);
    };
    const int status = co_await surroundings_.programs.run(std::move(command), hear);
    if (status != 0)
        throw InstallError::commandFailed(told, status);
}

Task<> LocalLLMInstaller::runWhateverComesOfIt(ProgramCommand command, OnLine onLine) {
    try {
        co_await run(std::move(command), std::move(onLine));
    } catch (const LocalizedError&) { // NOLINT(bugprone-empty-catch): so it is meant
    }
}

UserService LocalLLMInstaller::service() const {
    const RuntimePaths& paths = surroundings_.paths;
    return {.label = label,
            .definitionFile = paths.serviceFile,
            .arguments = {paths.server, QStringLiteral("--host"), QStringLiteral("127.0.0.1"), QStringLiteral("--port"),
                          QStringLiteral("8080")},
            .environment = paths.serverVariables,
            .logFile = paths.logFile};
}

} // namespace vennic
