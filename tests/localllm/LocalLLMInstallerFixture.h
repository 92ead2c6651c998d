#pragma once
#include "fakes/ProgramRunnerFake.h"
#include "localllm/LocalLLMInstaller.h"
#include "localllm/ServiceManagerLaunchd.h"
#include "support/Await.h"
#include "support/TestClock.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QTemporaryDir>

#include <gtest/gtest.h>

namespace vennic::test {

inline const QString site = QStringLiteral("https://paquets.test");
inline const QString model = QStringLiteral("org/Un-Modele-MLX-4bit");

/// A Mac in a temporary folder, whose commands are recorded.
struct LocalLLMInstallerFixture : testing::Test {
    QTemporaryDir root;
    QString home = root.filePath(QStringLiteral("Users/ada"));
    QString opt = root.filePath(QStringLiteral("opt/homebrew/bin"));
    QString usr = root.filePath(QStringLiteral("usr/local/bin"));
    QString local = home + QStringLiteral("/.local/bin");
    QString plist = home + QStringLiteral("/Library/LaunchAgents/com.vennic.local-llm.plist");
    QString bootout = QStringLiteral("/bin/launchctl bootout gui/501/com.vennic.local-llm");
    QString bootstrap = QStringLiteral("/bin/launchctl bootstrap gui/501 ") + plist;
    QString kickstart = QStringLiteral("/bin/launchctl kickstart -k gui/501/com.vennic.local-llm");

    ProgramRunnerFake programs;
    ServiceManagerLaunchd services{501};
    TestClock clock;
    LocalLLMInstaller installer{{paths(), programs, services, clock, site}};
    QStringList log;

    RuntimePaths paths() const {
        RuntimePaths paths = RuntimePaths::ofLaunchd(home);
        paths.brew = {opt + QStringLiteral("/brew"), usr + QStringLiteral("/brew")};
        paths.uv = {opt + QStringLiteral("/uv"), usr + QStringLiteral("/uv"), local + QStringLiteral("/uv")};
        return paths;
    }
    static void place(const QString& path, const QByteArray& content = {}) {
        QDir().mkpath(QFileInfo(path).path());
        QFile file(path);
        ASSERT_TRUE(file.open(QIODevice::WriteOnly));
        file.write(content);
    }
    static QByteArray contentOf(const QString& path) {
        QFile file(path);
        return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray("absent");
    }
    void placeBrew() const { place(opt + QStringLiteral("/brew")); }
    void placeUv() const { place(opt + QStringLiteral("/uv")); }
    void placeServer() const { place(local + QStringLiteral("/mlx_lm.server")); }
    QString installUv() const { return opt + QStringLiteral("/brew install uv"); }
    QString installMlx() const { return opt + QStringLiteral("/uv tool install --python 3.11 mlx-lm"); }
    QString download() const {
        return opt + QStringLiteral("/uv tool run --from mlx-lm mlx_lm.generate --model ") + model +
               QStringLiteral(" --prompt hi --max-tokens 1");
    }

    LocalLLMInstaller::OnLine onLine() {
        return [this](const QString& line) { log.append(line); };
    }
    /// Runs a task to its end, turning the clock when it sleeps; gives the failure's words, or "" without one.
    QString outcome(Task<> task) {
        std::optional<QString> words;
        Scope scope;
        scope.start(keep(std::move(task), &words));
        EXPECT_TRUE(waitUntil([&] {
            if (clock.sleeping() > 0)
                clock.advance(std::chrono::milliseconds{500});
            return words.has_value();
        }));
        return words.value_or(QStringLiteral("no end"));
    }
    static Task<> keep(Task<> task, std::optional<QString>* words) {
        try {
            co_await task;
            *words = QString();
        } catch (const LocalizedError& error) {
            *words = error.errorDescription();
        }
    }
    QString install() { return outcome(installer.install(model, onLine())); }
};

} // namespace vennic::test
