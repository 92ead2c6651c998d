#include "base/Pool.h"
#include "fakes/AutomationToolFake.h"
#include "linux/AutomationToolProgram.h"
#include "support/AutomationsFolder.h"
#include "support/Await.h"

#include <gtest/gtest.h>
#include <thread>

namespace vennic::test {

namespace {

/// The double, with an automation of each sort.
struct DoubleAutomations {
    AutomationToolFake tool;

    void addEcho(const char* name) { tool.automations[QString::fromUtf8(name)] = AutomationToolFake::echo; }
    void addEnding(const char* name, int status, const QByteArray& output, const QByteArray& error) {
        tool.automations[QString::fromUtf8(name)] = AutomationToolFake::ending({status, output, error});
    }
    void addEndless(const char* name) { tool.automations[QString::fromUtf8(name)] = AutomationToolFake::endless; }
};

/// The same with the program and scripts.
struct RealAutomations {
    AutomationsFolder folder;
    AutomationToolProgram tool{QStringLiteral(VENNIC_SHORTCUTS_PROGRAM)};

    void addEcho(const char* name) const { folder.add(name, "cat"); }
    void addEnding(const char* name, int status, const QByteArray& output, const QByteArray& error) const {
        folder.add(name, "printf '" + output + "'; printf '" + error + "' >&2; exit " + QByteArray::number(status));
    }
    void addEndless(const char* name) const { folder.add(name, "exec sleep 1000"); }
};

} // namespace

template <class T>
class AutomationToolContract : public testing::Test {
protected:
    AutomationRun run(const QStringList& arguments, const std::optional<QByteArray>& input = {}) {
        return automations.tool.run(arguments, input, {});
    }
    AutomationRun runNamed(const QString& name, const std::optional<QByteArray>& input = {}) {
        return run({QStringLiteral("run"), name}, input);
    }
    T automations;
};
using AllAutomationTools = testing::Types<DoubleAutomations, RealAutomations>;
TYPED_TEST_SUITE(AutomationToolContract, AllAutomationTools);

TYPED_TEST(AutomationToolContract, theListIsOneNameALine) {
    EXPECT_EQ(this->run({QStringLiteral("list")}), (AutomationRun{0, "", ""}));
    this->automations.addEcho("b c");
    this->automations.addEcho("a");
    EXPECT_EQ(this->run({QStringLiteral("list")}), (AutomationRun{0, "a\nb c\n", ""}));
}

TYPED_TEST(AutomationToolContract, anAutomationReadsItsInputAsItStands) {
    this->automations.addEcho("Redire");
    const QByteArray odd = QByteArray("d\xe9j\xe0\r\n\0 vu", 11) + QByteArray(1, '\0');
    EXPECT_EQ(this->runNamed(QStringLiteral("Redire"), odd), (AutomationRun{0, odd, ""}));
    EXPECT_EQ(this->runNamed(QStringLiteral("Redire"), ""), (AutomationRun{0, "", ""}));
    EXPECT_EQ(this->runNamed(QStringLiteral("Redire")), (AutomationRun{0, "", ""}));
}

TYPED_TEST(AutomationToolContract, whatItWroteAndItsStatusAreTold) {
    this->automations.addEnding("Parle", 0, "oui\n", "note\n");
    this->automations.addEnding("Refuse", 3, "peu", "non\n");
    this->automations.addEnding("Se tait", 1, "", "");
    EXPECT_EQ(this->runNamed(QStringLiteral("Parle")), (AutomationRun{0, "oui\n", "note\n"}));
    EXPECT_EQ(this->runNamed(QStringLiteral("Refuse")), (AutomationRun{3, "peu", "non\n"}));
    EXPECT_EQ(this->runNamed(QStringLiteral("Se tait")), (AutomationRun{1, "", ""}));
}

TYPED_TEST(AutomationToolContract, anUnknownNameFailsInWords) {
    this->automations.addEcho("Notes");
    for (const QString& name : {QStringLiteral("notes"), QStringLiteral("Notes "), QStringLiteral("./Notes"),
                                QStringLiteral("../shortcuts/Notes"), QStringLiteral("--help"), QStringLiteral("-"),
                                QStringLiteral("list"), QStringLiteral("Notes\n"), QString()}) {
        const AutomationRun run = this->runNamed(name);
        EXPECT_EQ(run.status, 127) << name.toStdString();
        EXPECT_EQ(run.output, "");
        EXPECT_TRUE(run.error.startsWith("Aucune automatisation ne s'appelle ")) << run.error.toStdString();
    }
}

TYPED_TEST(AutomationToolContract, otherArgumentsAreWrongUsage) {
    this->automations.addEcho("Notes");
    for (const QStringList& arguments :
         {QStringList{}, QStringList{QStringLiteral("run")}, QStringList{QStringLiteral("Notes")},
          QStringList{QStringLiteral("list"), QStringLiteral("x")},
          QStringList{QStringLiteral("run"), QStringLiteral("Notes"), QStringLiteral("x")}}) {
        const AutomationRun run = this->run(arguments);
        EXPECT_EQ(run.status, 2);
        EXPECT_FALSE(run.error.isEmpty());
    }
}

TYPED_TEST(AutomationToolContract, aNulInAnArgumentIsRefused) {
    this->automations.addEcho("Notes");
    EXPECT_THROW(this->runNamed(QStringLiteral("Notes") + QChar::Null), LocalizedError);
    EXPECT_THROW(this->runNamed(QStringLiteral("Notes") + QChar::Null + QStringLiteral("x")), LocalizedError);
}

TYPED_TEST(AutomationToolContract, aRunIsStoppedFromAnotherThread) {
    this->automations.addEndless("Attendre");
    std::stop_source source;
    std::thread stopping([&] { source.request_stop(); }); // before or while it runs
    EXPECT_THROW(this->automations.tool.run({QStringLiteral("run"), QStringLiteral("Attendre")}, std::nullopt,
                                            source.get_token()),
                 LocalizedError);
    stopping.join();
}

} // namespace vennic::test
