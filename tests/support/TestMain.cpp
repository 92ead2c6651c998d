#include <QCoreApplication>
#include <QStandardPaths>

#include <gtest/gtest.h>

#if defined(VENNIC_SANITIZED)
/// Fontconfig keeps its patterns behind pointers that it stores as offsets, where nobody sees that they are kept. It
/// is in the test's own process only where a reader is run without its box.
extern "C" const char* __lsan_default_suppressions() { // NOLINT(bugprone-reserved-identifier): LeakSanitizer's name
    return "leak:libfontconfig.so";
}
#endif

int main(int argc, char** argv) {
    ::testing::InitGoogleTest(&argc, argv);
    QCoreApplication application(argc, argv);
    return RUN_ALL_TESTS();
}
