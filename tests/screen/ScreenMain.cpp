#include <QGuiApplication>
#include <QTemporaryDir>

#include <gtest/gtest.h>

#if defined(VENNIC_SANITIZED)
/// The software renderer's context outlives every window and forgets its textures when the process ends.
extern "C" const char* __lsan_default_suppressions() { // NOLINT(bugprone-reserved-identifier): LeakSanitizer's name
    return "leak:QSGTexture::QSGTexture\n"
           "leak:libfontconfig.so";
}
#endif

/// Windows in memory, at the scale that QT_SCALE_FACTOR says.
int main(int argc, char** argv) {
    qputenv("QT_QPA_PLATFORM", "offscreen");
    qputenv("QT_ACCESSIBILITY", "1");
    qunsetenv("QT_QPA_PLATFORMTHEME");
    ::testing::InitGoogleTest(&argc, argv);
    QGuiApplication application(argc, argv);
    QGuiApplication::setQuitOnLastWindowClosed(false);
    return RUN_ALL_TESTS();
}
