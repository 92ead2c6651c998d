#include "localllm/ServiceManagerLaunchd.h"

#include "base/LocalizedError.h"
#include "localllm/RuntimePaths.h"

#include <QJsonDocument>
#include <QJsonObject>
#include <QProcess>

#include <gtest/gtest.h>

namespace vennic {
namespace {

UserService serviceOf(const QString& home) {
    const RuntimePaths paths = RuntimePaths::ofLaunchd(home);
    return {.label = QStringLiteral("com.vennic.local-llm"),
            .definitionFile = paths.serviceFile,
            .arguments = {paths.server, QStringLiteral("--host"), QStringLiteral("127.0.0.1"), QStringLiteral("--port"),
                          QStringLiteral("8080")},
            .environment = paths.serverVariables,
            .logFile = paths.logFile};
}

const ServiceManagerLaunchd manager(501);
const UserService service = serviceOf(QStringLiteral("/Users/ada"));

/// What another reader makes of a property list.
QJsonObject read(const QByteArray& plist) {
    QProcess python;
    python.start(
        QStringLiteral("/usr/bin/python3"),
        {QStringLiteral("-c"),
         QStringLiteral("import json, plistlib, sys; print(json.dumps(plistlib.loads(sys.stdin.buffer.read())))")});
    python.write(plist);
    python.closeWriteChannel();
    EXPECT_TRUE(python.waitForFinished());
    EXPECT_EQ(python.exitCode(), 0) << python.readAllStandardError().toStdString();
    return QJsonDocument::fromJson(python.readAllStandardOutput()).object();
}

TEST(ServiceManagerLaunchd, writesThePropertyListByteForByte) {
    EXPECT_EQ(manager.definition(service).toStdString(), R"(<?xml version="1.0" encoding="UTF-8"?>
<!DOCTYPE plist PUBLIC "-//Apple//DTD PLIST 1.0//EN" "http://www.apple.com/DTDs/PropertyList-1.0.dtd">
<plist version="1.0">
	<dict>
		<key>Label</key>
		<string>com.vennic.local-llm</string>
		<key>ProgramArguments</key>
		<array>
			<string>/Users/ada/.local/bin/mlx_lm.server</string>
			<string>--host</string>
			<string>127.0.0.1</string>
			<string>--port</string>
			<string>8080</string>
		</array>
		<key>EnvironmentVariables</key>
		<dict>
			<key>PATH</key>
			<string>/opt/homebrew/bin:/usr/local/bin:/usr/bin:/bin</string>
			<key>HOME</key>
			<string>/Users/ada</string>
		</dict>
		<key>RunAtLoad</key>
		<true/>
		<key>KeepAlive</key>
		<dict>
			<key>SuccessfulExit</key>
			<false/>
			<key>Crashed</key>
			<true/>
		</dict>
		<key>ThrottleInterval</key>
		<integer>10</integer>
		<key>StandardOutPath</key>
		<string>/Users/ada/.vennic-local-llm/server.log</string>
		<key>StandardErrorPath</key>
		<string>/Users/ada/.vennic-local-llm/server.log</string>
		<key>ProcessType</key>
		<string>Interactive</string>
	</dict>
</plist>
)");
}

TEST(ServiceManagerLaunchd, writesWhatAnotherReaderReadsWhateverTheHomeIsCalled) {
    for (const char* name : {"ada", "a b", "a&b<c>", "a'b\"c", "a%h$HOME", "é 🙂", "a\nb", "a\tb", "]]>"}) {
        const QString home = QStringLiteral("/Users/") + QString::fromUtf8(name);
        const QJsonObject list = read(manager.definition(serviceOf(home)));
        EXPECT_EQ(list[QLatin1String("ProgramArguments")][0], home + QStringLiteral("/.local/bin/mlx_lm.server"));
        EXPECT_EQ(list[QLatin1String("EnvironmentVariables")][QLatin1String("HOME")], home);
        EXPECT_EQ(list[QLatin1String("StandardOutPath")], home + QStringLiteral("/.vennic-local-llm/server.log"));
        EXPECT_EQ(list[QLatin1String("KeepAlive")],
                  (QJsonObject{{QStringLiteral("SuccessfulExit"), false}, {QStringLiteral("Crashed"), true}}));
        EXPECT_EQ(list[QLatin1String("ThrottleInterval")], 10);
        EXPECT_EQ(list[QLatin1String("RunAtLoad")], true);
        EXPECT_EQ(list.size(), 9);
    }
}

TEST(ServiceManagerLaunchd, refusesWhatAPropertyListCannotSay) {
    EXPECT_THROW(manager.definition(serviceOf(QStringLiteral("/Users/a\x01") + u'b')), LocalizedError);
    EXPECT_THROW(manager.definition(serviceOf(QStringLiteral("/Users/a\x1b[31m"))), LocalizedError);
    EXPECT_THROW(manager.definition(serviceOf(QStringLiteral("/Users/a\rb"))), LocalizedError);
    for (const char16_t c : {u'\xfffe', u'\xffff', u'\xd800'})
        EXPECT_THROW(manager.definition(serviceOf(QStringLiteral("/Users/") + QChar(c))), LocalizedError) << int(c);
}

TEST(ServiceManagerLaunchd, loadsByTheSessionOfItsUser) {
    const QString launchctl = QStringLiteral("/bin/launchctl");
    EXPECT_EQ(manager.unload(service),
              (ProgramCommand{launchctl, {QStringLiteral("bootout"), QStringLiteral("gui/501/com.vennic.local-llm")}}));
    EXPECT_EQ(manager.load(service),
              (std::vector<ProgramCommand>{
                  {launchctl,
                   {QStringLiteral("bootstrap"), QStringLiteral("gui/501"),
                    QStringLiteral("/Users/ada/Library/LaunchAgents/com.vennic.local-llm.plist")}}}));
    EXPECT_EQ(manager.restart(service), (ProgramCommand{launchctl,
                                                        {QStringLiteral("kickstart"), QStringLiteral("-k"),
                                                         QStringLiteral("gui/501/com.vennic.local-llm")}}));
}

} // namespace
} // namespace vennic
