#include <QGuiApplication>
#include <QTemporaryDir>

#include <gtest/gtest.h>

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
