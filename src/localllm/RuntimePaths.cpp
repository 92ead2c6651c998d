#include "localllm/RuntimePaths.h"

namespace vennic {

namespace {

QStringList underHome(const QString& home, QStringList paths) {
    for (QString& path : paths) {
        if (!path.startsWith(u'/'))
            path.prepend(home + u'/');
    }
    return paths;
}

RuntimePaths common(const QString& home) {
    RuntimePaths paths;
    paths.brew = {QStringLiteral("/opt/homebrew/bin/brew"), QStringLiteral("/usr/local/bin/brew")};
    paths.uv = underHome(home, {QStringLiteral("/opt/homebrew/bin/uv"), QStringLiteral("/usr/local/bin/uv"),
                                QStringLiteral(".local/bin/uv")});
    paths.package = QStringLiteral("mlx-lm");
    paths.server = home + QStringLiteral("/.local/bin/mlx_lm.server");
    paths.logDirectory = home + QStringLiteral("/.vennic-local-llm");
    paths.logFile = paths.logDirectory + QStringLiteral("/server.log");
    return paths;
}

} // namespace

RuntimePaths RuntimePaths::ofLaunchd(const QString& home) {
    RuntimePaths paths = common(home);
    paths.serviceFile = home + QStringLiteral("/Library/LaunchAgents/com.vennic.local-llm.plist");
    paths.serverVariables = {{QStringLiteral("PATH"), QStringLiteral("/opt/homebrew/bin:/usr/local/bin:/usr/bin:/bin")},
                             {QStringLiteral("HOME"), home}};
    return paths;
}

RuntimePaths RuntimePaths::ofSystemd(const QString& home, const QString& configuration) {
    RuntimePaths paths = common(home);
    // docs.brew.sh, "Homebrew on Linux": the prefix that is supported, and the one of installations without sudo.
    paths.brew +=
        underHome(home, {QStringLiteral("/home/linuxbrew/.linuxbrew/bin/brew"), QStringLiteral(".linuxbrew/bin/brew")});
    // docs.astral.sh/uv, "Installation": Homebrew's, Cargo's, and a distribution's own.
    paths.uv +=
        underHome(home, {QStringLiteral("/home/linuxbrew/.linuxbrew/bin/uv"), QStringLiteral(".linuxbrew/bin/uv"),
                         QStringLiteral(".cargo/bin/uv"), QStringLiteral("/usr/bin/uv")});
    // On a Mac the package brings MLX along; elsewhere its backend is named by an extra (setup.py of mlx-lm).
    paths.package = QStringLiteral("mlx-lm[cpu]");
    paths.serviceFile = configuration + QStringLiteral("/systemd/user/com.vennic.local-llm.service");
    // XDG_BIN_HOME and XDG_DATA_HOME move where uv puts programs, XDG_CACHE_HOME and HF_HOME where models lie. Both
    // are looked for where they are by default.
    const std::pair hub{QStringLiteral("HF_HUB_CACHE"), home + QStringLiteral("/.cache/huggingface/hub")};
    paths.toolVariables = {{QStringLiteral("UV_TOOL_BIN_DIR"), home + QStringLiteral("/.local/bin")}, hub};
    paths.serverVariables = {
        {QStringLiteral("PATH"), QStringLiteral("/home/linuxbrew/.linuxbrew/bin:/usr/local/bin:/usr/bin:/bin")},
        {QStringLiteral("HOME"), home},
        hub};
    return paths;
}

} // namespace vennic
