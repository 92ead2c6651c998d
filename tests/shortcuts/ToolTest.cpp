#include "support/AutomationsFolder.h"

#include <QProcess>

#include <gtest/gtest.h>

using namespace vennic::test;

namespace {

struct Outcome {
    int status = 0;
    QByteArray output;
    QByteArray error;
};

/// The tool as a person starts it, from a folder of its own.
struct ToolTest : ::testing::Test {
    AutomationsFolder folder;
    QProcess process;

    Outcome tool(const QStringList& arguments, const QByteArray& input = {}) {
        process.start(QStringLiteral(VENNIC_SHORTCUTS_PROGRAM), arguments);
        process.write(input);
        process.closeWriteChannel();
        EXPECT_TRUE(process.waitForFinished());
        return {process.exitCode(), process.readAllStandardOutput(), process.readAllStandardError()};
    }
    void setEnvironment(const char* name, const QString& value) {
        auto environment = QProcessEnvironment::systemEnvironment();
        environment.insert(QLatin1String(name), value);
        if (qstrcmp(name, "HOME") == 0)
            environment.insert(QStringLiteral("XDG_DATA_HOME"), QStringLiteral("relative"));
        process.setProcessEnvironment(environment);
    }
};

} // namespace

TEST_F(ToolTest, helpSaysWhereTheAutomationsAre) {
    const Outcome help = tool({QStringLiteral("--help")});
    EXPECT_EQ(help.status, 0);
    EXPECT_TRUE(help.output.startsWith("Usage : vennic-shortcuts list\n"));
    EXPECT_TRUE(help.output.contains("\n  " + QFile::encodeName(folder.path()) + '\n')) << help.output.toStdString();
    EXPECT_EQ(help.error, "");
    EXPECT_EQ(tool({QStringLiteral("-h")}).output, help.output);
    EXPECT_TRUE(tool({QStringLiteral("--version")}).output.startsWith("vennic-shortcuts "));
}

TEST_F(ToolTest, aRelativeDataFolderIsIgnoredAndTheHomeFolderHasOne) {
    setEnvironment("HOME", QStringLiteral("/home/marie"));
    EXPECT_TRUE(tool({QStringLiteral("--help")}).output.contains("\n  /home/marie/.local/share/vennic/shortcuts\n"));
    EXPECT_EQ(tool({QStringLiteral("list")}).status, 0);
}

TEST_F(ToolTest, wrongUsageIsToldInFrench) {
    for (const QStringList& arguments : {QStringList(), QStringList{QStringLiteral("--list")},
                                         QStringList{QStringLiteral("--help"), QStringLiteral("x")}}) {
        const Outcome outcome = tool(arguments);
        EXPECT_EQ(outcome.status, 2);
        EXPECT_EQ(outcome.output, "");
        EXPECT_EQ(outcome.error, "Usage : vennic-shortcuts list | run NOM. « vennic-shortcuts --help » en dit plus.\n");
    }
}

TEST_F(ToolTest, whatFollowsRunIsANameWhateverItLooksLike) {
    folder.add("--help.sh", "echo couru");
    folder.add("-x", "echo $# \"$0\"");
    EXPECT_EQ(tool({QStringLiteral("run"), QStringLiteral("--help")}).output, "couru\n");
    // It gets no argument, and its own path can't be taken for an option.
    EXPECT_EQ(tool({QStringLiteral("run"), QStringLiteral("-x")}).output,
              "0 " + QFile::encodeName(folder.path()) + "/-x\n");
    EXPECT_EQ(tool({QStringLiteral("run"), QStringLiteral("--version")}).status, 127);
}

TEST_F(ToolTest, theAutomationTakesTheToolsPlace) {
    folder.add("qui", "cat; pwd; exit 7");
    process.setWorkingDirectory(QStringLiteral("/usr"));
    const Outcome outcome = tool({QStringLiteral("run"), QStringLiteral("qui")}, "entrée\n");
    EXPECT_EQ(outcome.output, "entrée\n/usr\n");
    EXPECT_EQ(outcome.status, 7);
}

TEST_F(ToolTest, aListThatCannotBeWrittenIsAFailure) {
    folder.add("a", "");
    process.setStandardOutputFile(QStringLiteral("/dev/full"));
    const Outcome outcome = tool({QStringLiteral("list")});
    EXPECT_EQ(outcome.status, 1);
    EXPECT_TRUE(outcome.error.startsWith("La liste n'a pas pu être écrite : ")) << outcome.error.toStdString();
}

TEST_F(ToolTest, inAFolderThatOthersMayChangeNothingIsListedOrRun) {
    folder.add("a", "echo couru");
    QFile::setPermissions(folder.path(), QFile::Permissions(0x7777));
    for (const QStringList& arguments :
         {QStringList{QStringLiteral("list")}, QStringList{QStringLiteral("run"), QStringLiteral("a")}}) {
        const Outcome outcome = tool(arguments);
        EXPECT_EQ(outcome.status, 1);
        EXPECT_EQ(outcome.output, "");
        EXPECT_TRUE(outcome.error.startsWith("Le dossier ")) << outcome.error.toStdString();
    }
}

TEST_F(ToolTest, whatOthersMayChangeIsNotRunAndToldWhy) {
    folder.add("a", "echo couru");
    QFile::setPermissions(folder.path() + QStringLiteral("/a"), QFile::Permissions(0x7777));
    const Outcome outcome = tool({QStringLiteral("run"), QStringLiteral("a")});
    EXPECT_EQ(outcome.status, 126);
    EXPECT_EQ(outcome.output, "");
    EXPECT_EQ(tool({QStringLiteral("list")}).output, "");
}

TEST_F(ToolTest, nothingThatItTellsBackCommandsATerminal) {
    const Outcome outcome = tool({QStringLiteral("run"), QStringLiteral("\x1b[31m\u009b31m\x7f\r\n")});
    EXPECT_EQ(outcome.status, 127);
    EXPECT_TRUE(
        outcome.error.startsWith("Aucune automatisation ne s'appelle « \ufffd[31m\ufffd31m\ufffd\ufffd\ufffd » dans "))
        << outcome.error.toStdString();
}
