#include "base/LocalizedError.h"
#include "fakes/ProgramRunnerFake.h"
#include "linux/ProgramRunnerPiped.h"
#include "support/Await.h"

#include <gtest/gtest.h>

namespace vennic::test {

namespace {

/// The double, which is told what the real one finds out.
struct DoublePrograms {
    ProgramRunnerFake runner;

    ProgramCommand writing(const QByteArray& text, int status) {
        return told({.pieces = {text}, .status = status}, {QString::fromUtf8(text), QString::number(status)});
    }
    ProgramCommand missing() { return told({.unstartable = QStringLiteral("Il manque.")}, {}); }
    ProgramCommand endless() { return told({.awaited = std::make_shared<Event<>>()}, {}); }

private:
    ProgramCommand told(ProgramRunnerFake::Script script, const QStringList& arguments) {
        const ProgramCommand command{QStringLiteral("/programme"), arguments};
        runner.scripts[ProgramRunnerFake::words(command)] = std::move(script);
        return command;
    }
};

/// The real one with real programs.
struct RealPrograms {
    ProgramRunnerPiped runner;

    static ProgramCommand shell(const QString& script) {
        return {QStringLiteral("/bin/sh"), {QStringLiteral("-c"), script}};
    }
    static ProgramCommand writing(const QByteArray& text, int status) {
        return shell(QStringLiteral("printf '%1'; exit %2").arg(QString::fromUtf8(text)).arg(status));
    }
    static ProgramCommand missing() { return {QStringLiteral("/absent/programme"), {}}; }
    static ProgramCommand endless() { return {QStringLiteral("/bin/sleep"), {QStringLiteral("1000")}}; }
};

} // namespace

template <class T>
class ProgramRunnerContract : public testing::Test {
protected:
    int run(const ProgramCommand& command) {
        return await(programs.runner.run(command, [this](const QByteArray& piece) { heard += piece; }));
    }
    T programs;
    QByteArray heard;
};
using AllProgramRunners = testing::Types<DoublePrograms, RealPrograms>;
TYPED_TEST_SUITE(ProgramRunnerContract, AllProgramRunners);

TYPED_TEST(ProgramRunnerContract, whatAProgramWritesIsHeardBeforeItsEndIsTold) {
    EXPECT_EQ(this->run(this->programs.writing("été", 0)), 0);
    EXPECT_EQ(this->heard, "été");
}

TYPED_TEST(ProgramRunnerContract, theExitStatusIsTold) {
    EXPECT_EQ(this->run(this->programs.writing("a", 3)), 3);
    EXPECT_EQ(this->run(this->programs.writing("b", 255)), 255);
    EXPECT_EQ(this->heard, "ab");
}

TYPED_TEST(ProgramRunnerContract, aProgramThatCannotBeStartedIsAFailureWithItsReason) {
    try {
        this->run(this->programs.missing());
        FAIL();
    } catch (const LocalizedError& error) {
        EXPECT_FALSE(error.errorDescription().isEmpty());
    }
    EXPECT_EQ(this->heard, "");
}

TYPED_TEST(ProgramRunnerContract, aCancelledJobWaitsForNoEnd) {
    Scope scope;
    bool cancelled = false;
    Job job = scope.start([](ProgramRunner* runner, ProgramCommand command, bool* told) -> Task<> {
        try {
            co_await runner->run(std::move(command), [](const QByteArray&) {});
        } catch (const Cancelled&) {
            *told = true;
            throw;
        }
    }(&this->programs.runner, this->programs.endless(), &cancelled));
    waitUntil([] { return false; }, std::chrono::milliseconds{1});
    EXPECT_EQ(scope.size(), 1u);
    job.cancel();
    EXPECT_TRUE(waitUntil([&] { return scope.size() == 0; }));
    EXPECT_TRUE(cancelled);
}

} // namespace vennic::test
