#include "app/RuntimeVerbs.h"

#include "fakes/ProgramRunnerFake.h"
#include "linux/ServiceManagerSystemd.h"

#include <QDir>
#include <QFile>
#include <QJsonArray>
#include <QTemporaryDir>
#include <QTimer>

#include <csignal>
#include <gtest/gtest.h>

using namespace vennic;
using namespace vennic::test;

namespace {

struct RuntimeVerbsTest : ::testing::Test {
    QTemporaryDir root;
    ProgramRunnerFake programs;
    ServiceManagerSystemd services{QStringLiteral("/usr/bin/systemctl")};
    SystemClock clock;
    LocalLLMInstaller installer{{paths(), programs, services, clock, QStringLiteral("https://paquets.test")}};
    QString output;
    QString errors;

    RuntimePaths paths() const {
        RuntimePaths paths = RuntimePaths::ofSystemd(root.path(), root.path() + QStringLiteral("/.config"));
        paths.brew = {root.filePath(QStringLiteral("brew"))};
        paths.uv = {root.filePath(QStringLiteral("uv"))};
        return paths;
    }
    void place(const char* name) const {
        QFile file(root.filePath(QLatin1String(name)));
        ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    }
    CommandAnswer run(const QStringList& words, bool json = false,
                      std::chrono::milliseconds reloadPatience = std::chrono::hours{1}) {
        testing::internal::CaptureStdout();
        testing::internal::CaptureStderr();
        CommandAnswer answer = runRuntimeVerb(words, json, installer, reloadPatience);
        output = QString::fromStdString(testing::internal::GetCapturedStdout());
        errors = QString::fromStdString(testing::internal::GetCapturedStderr());
        return answer;
    }
    QString stopService() const {
        return QStringLiteral("/usr/bin/systemctl --user stop com.vennic.local-llm.service");
    }
    QString enableService() const {
        return QStringLiteral("/usr/bin/systemctl --user enable --now ") + paths().serviceFile;
    }
    QString download() const {
        return paths().uv[0] + QStringLiteral(" tool run --from mlx-lm[cpu] mlx_lm.generate --model org/m --prompt hi "
                                              "--max-tokens 1");
    }
};

const QStringList detect{QStringLiteral("detect")};
const QStringList install{QStringLiteral("install")};
const QStringList downloadModel{QStringLiteral("download"), QStringLiteral("org/m")};

} // namespace

TEST(RuntimeVerbs, areTheThreeThatNeedNoClient) {
    EXPECT_TRUE(isRuntimeVerb(detect));
    EXPECT_TRUE(isRuntimeVerb(install));
    EXPECT_TRUE(isRuntimeVerb(downloadModel));
    for (const char* word : {"on", "off", "status", "endpoint", "name", "", "INSTALL"})
        EXPECT_FALSE(isRuntimeVerb({QString::fromUtf8(word)})) << word;
    EXPECT_FALSE(isRuntimeVerb({}));
}

TEST_F(RuntimeVerbsTest, whatIsThereIsToldForPeopleAndForPrograms) {
    place("uv");
    const CommandAnswer answer = run(detect);
    EXPECT_EQ(answer.status, ExitStatus::done);
    EXPECT_EQ(answer.text, QStringLiteral("✗ Homebrew : absent\n✓ uv : ") + paths().uv[0] +
                               QStringLiteral("\n✗ mlx-lm : absent\n✗ LaunchAgent : absent"));
    const QJsonArray components = answer.data[QLatin1String("components")].toArray();
    ASSERT_EQ(components.size(), 4);
    EXPECT_EQ(components[0].toObject(), (QJsonObject{{QStringLiteral("id"), QStringLiteral("brew")},
                                                     {QStringLiteral("label"), QStringLiteral("Homebrew")},
                                                     {QStringLiteral("installed"), false},
                                                     {QStringLiteral("detail"), QJsonValue::Null}}));
    EXPECT_EQ(components[1].toObject()[QLatin1String("detail")], paths().uv[0]);
    EXPECT_EQ(output, QString());
}

TEST_F(RuntimeVerbsTest, theLogIsPrintedAsItComesWithProgressSettled) {
    place("uv");
    programs.scripts[download()] = {.pieces = {" 10%\r 50%", "\r100%\nfini\n"}};
    const CommandAnswer answer = run(downloadModel);
    EXPECT_EQ(answer, (CommandAnswer{ExitStatus::done, {}, {{QStringLiteral("model"), QStringLiteral("org/m")}}}));
    EXPECT_EQ(output,
              QStringLiteral("▶︎ Téléchargement du modèle org/m\n 50%\n100%\nfini\n✓ Modèle org/m téléchargé.\n"));
    EXPECT_EQ(errors, QString());
}

TEST_F(RuntimeVerbsTest, beforeDataTheLogGoesToStandardError) {
    place("uv");
    EXPECT_EQ(run(downloadModel, true).status, ExitStatus::done);
    EXPECT_EQ(output, QString());
    EXPECT_TRUE(errors.startsWith(QStringLiteral("▶︎ Téléchargement du modèle org/m\n")));
}

TEST_F(RuntimeVerbsTest, aFailureIsTheReason) {
    EXPECT_EQ(run(install).reason,
              QStringLiteral("Homebrew est requis. Installe-le depuis https://paquets.test puis relance."));
    place("uv");
    programs.scripts[download()] = {.status = 2};
    const CommandAnswer answer = run(downloadModel);
    EXPECT_EQ(answer.status, ExitStatus::failed);
    EXPECT_EQ(answer.reason, QStringLiteral("Échec (2) : ") + download());
}

TEST_F(RuntimeVerbsTest, anInstallationEndsWithWhatIsThere) {
    place("brew");
    place("uv");
    const CommandAnswer answer = run(install);
    EXPECT_EQ(answer.status, ExitStatus::done) << answer.reason.toStdString();
    EXPECT_TRUE(output.endsWith(QStringLiteral("✓ Installation terminée. Le serveur démarre en arrière-plan.\n")));
    EXPECT_EQ(answer.data[QLatin1String("components")][3][QLatin1String("installed")], true);
    EXPECT_EQ(programs.startedWords().last(),
              QStringLiteral("/usr/bin/systemctl --user restart com.vennic.local-llm.service"));
}

TEST_F(RuntimeVerbsTest, anInterruptEndsIt) {
    place("uv");
    programs.scripts[download()] = {.effect = [] { ::raise(SIGINT); }, .awaited = std::make_shared<Event<>>()};
    const CommandAnswer answer = run(downloadModel);
    EXPECT_EQ(answer.status, ExitStatus::failed);
    EXPECT_EQ(answer.reason, QStringLiteral("Interrompu."));
}

TEST_F(RuntimeVerbsTest, anInterruptWhileTheServerIsStartedAnewLeavesItStarted) {
    place("brew");
    place("uv");
    programs.scripts[stopService()] = {.effect = [] { ::raise(SIGINT); }};
    const CommandAnswer answer = run(install);
    EXPECT_EQ(answer.status, ExitStatus::done) << answer.reason.toStdString();
    EXPECT_TRUE(programs.startedWords().contains(enableService()));
    EXPECT_EQ(errors, QStringLiteral("Le serveur est d'abord relancé ; une deuxième interruption y renonce.\n"));
}

TEST_F(RuntimeVerbsTest, aServiceManagerThatHangsHoldsUpNoInterruptForLong) {
    place("brew");
    place("uv");
    programs.scripts[enableService()] = {.effect = [] { ::raise(SIGINT); }, .awaited = std::make_shared<Event<>>()};
    EXPECT_EQ(run(install, false, std::chrono::milliseconds{1}).reason, QStringLiteral("Interrompu."));
}

TEST_F(RuntimeVerbsTest, aSecondInterruptDoesNotAwaitTheServer) {
    place("brew");
    place("uv");
    QTimer again; // as often as it takes for two to be told apart
    QObject::connect(&again, &QTimer::timeout, &again, [] { ::raise(SIGINT); });
    programs.scripts[enableService()] = {.effect = [&again] { again.start(1); },
                                         .awaited = std::make_shared<Event<>>()};
    EXPECT_EQ(run(install).reason, QStringLiteral("Interrompu."));
}
