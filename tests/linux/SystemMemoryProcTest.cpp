#include "linux/SystemMemoryProc.h"

#include <gtest/gtest.h>

namespace vennic::test {
namespace {

TEST(SystemMemoryProc, usedIsWhatProgramsCouldNotGet) {
    EXPECT_EQ(SystemMemoryProc::parse("MemTotal:       16303420 kB\nMemFree:          212704 kB\n"
                                      "MemAvailable:    9771232 kB\nBuffers: 1 kB\n"),
              (MemoryUse{.used = (16303420LL - 9771232) * 1024, .total = 16303420LL * 1024}));
}

TEST(SystemMemoryProc, whatTheFileDoesNotSayIsNotTold) {
    const MemoryUse totalOnly{.used = {}, .total = 8LL * 1024};
    EXPECT_EQ(SystemMemoryProc::parse(""), MemoryUse{});
    EXPECT_EQ(SystemMemoryProc::parse("MemTotal: 8 kB"), totalOnly);
    EXPECT_EQ(SystemMemoryProc::parse("MemTotal: 8 kB\nMemAvailable: 9 kB\n"), totalOnly) << "more than there is";
    for (const char* bad :
         {"", " ", " x kB", " -1 kB", " 8", " 8 MB", " 99999999999999999999 kB", " 9223372036854775807 kB"})
        EXPECT_EQ(SystemMemoryProc::parse(QByteArray("MemTotal: 8 kB\nMemAvailable:") + bad + "\n"), totalOnly) << bad;
    EXPECT_EQ(SystemMemoryProc::parse("XMemTotal: 8 kB\nMemAvailable: 1 kB\n"), MemoryUse{});
}

TEST(SystemMemoryProc, theTotalIsKnownWithoutTheFileToo) {
    const MemoryUse use = SystemMemoryProc("/nowhere/meminfo").use();
    EXPECT_FALSE(use.used);
    EXPECT_GT(use.total.value_or(0), 64LL << 20);
}

TEST(SystemMemoryProc, thisMachineTellsBoth) {
    const MemoryUse use = SystemMemoryProc().use();
    ASSERT_TRUE(use.used && use.total);
    EXPECT_GT(*use.used, 1LL << 20);
    EXPECT_LT(*use.used, *use.total);
    const qint64 other = SystemMemoryProc("/nowhere").use().total.value_or(0);
    EXPECT_LT(std::abs(other - *use.total), *use.total / 10) << "both roads tell of one machine";
}

} // namespace
} // namespace vennic::test
