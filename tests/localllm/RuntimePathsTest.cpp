#include "localllm/RuntimePaths.h"

#include <gtest/gtest.h>

namespace vennic {
namespace {

const QString home = QStringLiteral("/home/ada");

QStringList list(std::initializer_list<const char*> paths) {
    QStringList list;
    for (const char* path : paths)
        list.append(QString::fromUtf8(path));
    return list;
}

TEST(RuntimePaths, ofAMacAreThoseOfHomebrewAndTheLibrary) {
    const RuntimePaths paths = RuntimePaths::ofLaunchd(home);
    EXPECT_EQ(paths.brew, list({"/opt/homebrew/bin/brew", "/usr/local/bin/brew"}));
    EXPECT_EQ(paths.uv, list({"/opt/homebrew/bin/uv", "/usr/local/bin/uv", "/home/ada/.local/bin/uv"}));
    EXPECT_EQ(paths.package, QStringLiteral("mlx-lm"));
    EXPECT_EQ(paths.server, QStringLiteral("/home/ada/.local/bin/mlx_lm.server"));
    EXPECT_EQ(paths.serviceFile, QStringLiteral("/home/ada/Library/LaunchAgents/com.vennic.local-llm.plist"));
    EXPECT_EQ(paths.logDirectory, QStringLiteral("/home/ada/.vennic-local-llm"));
    EXPECT_EQ(paths.logFile, QStringLiteral("/home/ada/.vennic-local-llm/server.log"));
    EXPECT_EQ(paths.toolVariables, RuntimePaths::Variables());
    EXPECT_EQ(paths.serverVariables,
              (RuntimePaths::Variables{
                  {QStringLiteral("PATH"), QStringLiteral("/opt/homebrew/bin:/usr/local/bin:/usr/bin:/bin")},
                  {QStringLiteral("HOME"), home}}));
}

TEST(RuntimePaths, ofLinuxAreLookedForAfterThoseAndKeepServerAndLogWhereTheyAre) {
    const RuntimePaths mac = RuntimePaths::ofLaunchd(home);
    const RuntimePaths paths = RuntimePaths::ofSystemd(home, QStringLiteral("/home/ada/.config"));
    EXPECT_EQ(paths.brew, mac.brew + list({"/home/linuxbrew/.linuxbrew/bin/brew", "/home/ada/.linuxbrew/bin/brew"}));
    EXPECT_EQ(paths.uv, mac.uv + list({"/home/linuxbrew/.linuxbrew/bin/uv", "/home/ada/.linuxbrew/bin/uv",
                                       "/home/ada/.cargo/bin/uv", "/usr/bin/uv"}));
    EXPECT_EQ(paths.server, mac.server);
    EXPECT_EQ(paths.logDirectory, mac.logDirectory);
    EXPECT_EQ(paths.logFile, mac.logFile);
    EXPECT_EQ(paths.serviceFile, QStringLiteral("/home/ada/.config/systemd/user/com.vennic.local-llm.service"));
}

TEST(RuntimePaths, ofLinuxHoldProgramsAndModelsInTheirPlacesWhateverTheEnvironmentSays) {
    const RuntimePaths paths = RuntimePaths::ofSystemd(home, QStringLiteral("/c"));
    const std::pair hub{QStringLiteral("HF_HUB_CACHE"), QStringLiteral("/home/ada/.cache/huggingface/hub")};
    EXPECT_EQ(paths.package, QStringLiteral("mlx-lm[cpu]"));
    EXPECT_EQ(
        paths.toolVariables,
        (RuntimePaths::Variables{{QStringLiteral("UV_TOOL_BIN_DIR"), QStringLiteral("/home/ada/.local/bin")}, hub}));
    const std::pair path{QStringLiteral("PATH"),
                         QStringLiteral("/home/linuxbrew/.linuxbrew/bin:/usr/local/bin:/usr/bin:/bin")};
    EXPECT_EQ(paths.serverVariables, (RuntimePaths::Variables{path, {QStringLiteral("HOME"), home}, hub}));
}

} // namespace
} // namespace vennic
