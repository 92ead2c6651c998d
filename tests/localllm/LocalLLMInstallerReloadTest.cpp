#include "localllm/LocalLLMInstallerFixture.h"

namespace vennic {
namespace {

using namespace std::chrono_literals;
using LocalLLMInstallerReloadTest = test::LocalLLMInstallerFixture;

TEST_F(LocalLLMInstallerReloadTest, whatComesOfBootoutAndKickstartIsPassedOver) {
    programs.scripts[bootout] = {.pieces = {"Boot-out failed: 3: No such process\n"}, .status = 3};
    programs.scripts[kickstart] = {.status = 113};
    EXPECT_EQ(outcome(installer.reloadLaunchAgent(onLine())), QString());
    EXPECT_EQ(log, QStringList{QStringLiteral("Boot-out failed: 3: No such process")});

    programs.scripts[bootout] = {.unstartable = QStringLiteral("absent")};
    programs.scripts[kickstart] = {.unstartable = QStringLiteral("absent")};
    EXPECT_EQ(outcome(installer.reloadLaunchAgent(onLine())), QString());
    EXPECT_EQ(programs.startedWords().mid(3), QStringList({bootout, bootstrap, kickstart}));
}

TEST_F(LocalLLMInstallerReloadTest, aLogThatHasGrownLongIsTurnedOverWhileNoServerRuns) {
    const QString path = paths().logFile;
    const QString before = path + QStringLiteral(".1");
    const auto reload = [this] { return outcome(installer.reloadLaunchAgent(onLine())); };
    place(path, "court\n");
    EXPECT_EQ(reload(), QString());
    EXPECT_EQ(contentOf(path), "court\n");

    place(before, "ancien\n");
    ASSERT_TRUE(QFile::resize(path, 8 * 1024 * 1024));
    EXPECT_EQ(reload(), QString());
    EXPECT_EQ(contentOf(before), "ancien\n");

    ASSERT_TRUE(QFile::resize(path, 8 * 1024 * 1024 + 1));
    programs.scripts[bootout] = {.effect = [&] { EXPECT_TRUE(QFile::exists(path)); }};
    programs.scripts[bootstrap] = {.effect = [&] { EXPECT_FALSE(QFile::exists(path)); }};
    EXPECT_EQ(reload(), QString());
    EXPECT_FALSE(QFile::exists(path));
    EXPECT_TRUE(contentOf(before).startsWith("court\n"));

    // A log that can't be moved keeps nothing from starting.
    programs.scripts[bootstrap] = {};
    ASSERT_TRUE(QFile::remove(before));
    ASSERT_TRUE(QDir().mkpath(before));
    place(path);
    ASSERT_TRUE(QFile::resize(path, 8 * 1024 * 1024 + 1));
    EXPECT_EQ(reload(), QString());
    EXPECT_TRUE(QFile::exists(path));
}

TEST_F(LocalLLMInstallerReloadTest, theLabelHasHalfASecondToBeFree) {
    Scope scope;
    std::optional<QString> end;
    scope.start(keep(installer.reloadLaunchAgent(onLine()), &end));
    ASSERT_TRUE(test::waitUntil([&] { return clock.sleeping() == 1; }));
    EXPECT_EQ(programs.startedWords(), QStringList{bootout});
    clock.advance(499ms);
    QCoreApplication::processEvents();
    EXPECT_EQ(programs.started.size(), 1u);
    clock.advance(1ms);
    EXPECT_TRUE(test::waitUntil([&] { return end.has_value(); }));
}

} // namespace
} // namespace vennic
