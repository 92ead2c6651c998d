#pragma once
#include "fakes/FolderUsageFake.h"
#include "fakes/ProgramRunnerFake.h"
#include "fakes/SystemMemoryFake.h"
#include "fakes/WorkspaceFake.h"
#include "localllm/LocalLLMCatalog.h"
#include "localllm/LocalLLMSettingsView.h"
#include "localllm/ServiceManagerLaunchd.h"
#include "support/TestClock.h"

#include <QFile>
#include <QTemporaryDir>

namespace vennic::test {

/// What the local model's settings touch: a home on disk, programs and a service manager that do as they are told.
struct LocalRuntimeWorld {
    LocalRuntimeWorld() { findTools(); }

    QTemporaryDir home;
    RuntimePaths paths = RuntimePaths::ofLaunchd(home.path());
    ProgramRunnerFake programs;
    std::unique_ptr<ServiceManager> services = std::make_unique<ServiceManagerLaunchd>(501);
    /// The command by which a reload has the service started.
    QString loading = QStringLiteral("/bin/launchctl bootstrap gui/501 ") + paths.serviceFile;
    SystemMemoryFake memory;
    std::shared_ptr<FolderUsageFake> usage = std::make_shared<FolderUsageFake>();
    std::shared_ptr<WorkspaceFake> workspace = std::make_shared<WorkspaceFake>();
    std::vector<QUrl> opened;
    std::unique_ptr<LocalLLMInstaller> installer;

    LocalLLMSettingsView::Surroundings surroundings(AppSession& session, VennicHTTP& http, const APIConfig& config,
                                                    TestClock& clock) {
        installer = std::make_unique<LocalLLMInstaller>(
            LocalLLMInstaller::Surroundings{paths, programs, *services, clock, config.deployment().packageManagerSite});
        return {.session = session,
                .http = http,
                .config = config,
                .installer = *installer,
                .home = home.path(),
                .usage = usage,
                .memory = memory,
                .workspace = workspace,
                .clock = clock,
                .openURL = [this](const QUrl& url) { opened.push_back(url); }};
    }

    /// Has it be a machine with systemd, which `manager` talks to as /usr/bin/systemctl; before all else.
    void haveSystemd(std::unique_ptr<ServiceManager> manager) {
        services = std::move(manager);
        paths = RuntimePaths::ofSystemd(home.path(), home.filePath(QStringLiteral(".config")));
        loading = QStringLiteral("/usr/bin/systemctl --user enable --now ") + paths.serviceFile;
        findTools();
    }
    void findTools() {
        paths.brew = {home.filePath(QStringLiteral("bin/brew"))};
        paths.uv = {home.filePath(QStringLiteral("bin/uv"))};
    }
    static void makeFile(const QString& path) {
        QDir().mkpath(QFileInfo(path).path());
        QFile file(path);
        if (!file.open(QIODevice::WriteOnly))
            throw std::runtime_error("the file can't be made");
    }
    void haveTools() {
        makeFile(paths.brew.first());
        makeFile(paths.uv.first());
    }
    void haveEverything() {
        haveTools();
        makeFile(paths.server);
    }
    void haveModel(const QString& id) {
        QDir().mkpath(LocalLLMCatalog::hubFolder(home.path()) + QStringLiteral("/models--") +
                      QString(id).replace(u'/', QStringLiteral("--")) + QStringLiteral("/snapshots/main"));
    }

    QString installUv() const { return paths.brew.first() + QStringLiteral(" install uv"); }
    QString installServer() const {
        return paths.uv.first() + QStringLiteral(" tool install --python 3.11 ") + paths.package;
    }
    QString generate(const QString& id) const {
        return paths.uv.first() + QStringLiteral(" tool run --from ") + paths.package +
               QStringLiteral(" mlx_lm.generate --model ") + id + QStringLiteral(" --prompt hi --max-tokens 1");
    }
};

} // namespace vennic::test
