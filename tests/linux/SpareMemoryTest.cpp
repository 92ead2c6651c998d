#include "linux/SpareMemory.h"

#include <QFile>

#include <gtest/gtest.h>
#include <memory>
#include <vector>

namespace vennic::test {

// A sanitizer's allocator keeps what was freed.
#if !defined(VENNIC_SANITIZED)
namespace {

qint64 residentBytes() {
    QFile file(QStringLiteral("/proc/self/statm"));
    if (!file.open(QIODevice::ReadOnly))
        return 0;
    return file.readAll().split(' ').value(1).toLongLong() * 4096;
}

} // namespace

TEST(SpareMemoryTest, whatSmallThingsThatLiveOnHoldApartGoesBack) {
    constexpr qint64 megabyte = 1024LL * 1024;
    std::vector<std::unique_ptr<char[]>> pieces;
    for (int piece = 0; piece < 50'000; ++piece) {
        pieces.push_back(std::make_unique<char[]>(1000)); // touched, since it is cleared
    }
    const qint64 full = residentBytes();
    for (std::size_t piece = 0; piece < pieces.size(); ++piece) {
        if (piece % 100 != 99) // one of them lives on in every 25 pages
            pieces[piece].reset();
    }
    ASSERT_GT(residentBytes(), full - 10 * megabyte) << "the allocator gave it back by itself";
    returnSpareMemory();
    EXPECT_LT(residentBytes(), full - 30 * megabyte);
    EXPECT_EQ(pieces.back()[999], '\0');
}
#endif

} // namespace vennic::test
