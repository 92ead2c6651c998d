#include "linux/dialog/DialogLook.h"

#include <QFontDatabase>
#include <QIcon>
#include <QPalette>

namespace vennic {

namespace {

// As in Theme.qml, which takes an engine to be read.
struct Look {
    const char* window;
    const char* box; // that can be checked
    const char* surface;
    const char* hovered;
    const char* line;
    const char* text;
    const char* secondary;
    const char* accent;
    const char* accentFill;
};
constexpr Look light{"#fcfcfd", "#ffffff", "#f0f1f5", "#e6e8ee", "#dcdfe6", "#1b1c21", "#646873", "#4653d8", "#4653d8"};
constexpr Look dark{"#1d1e23", "#4a4e59", "#2a2c33", "#33363e", "#3a3d46", "#ecedf0", "#a4a8b3", "#98a2ff", "#5561e6"};

constexpr int body = 13; // pixels
constexpr int pictureSide = 48;

QString color(const char* name) { return QString::fromLatin1(name); }

} // namespace

void dressApplication(QApplication& application, bool isDark) {
    QFont font = application.font();
    if (QFontDatabase::families().contains(QStringLiteral("Inter")))
        font.setFamilies({QStringLiteral("Inter")});
    font.setPixelSize(body);
    QApplication::setFont(font);
    const Look& look = isDark ? dark : light;
    QPalette palette;
    for (const auto& [role, name] : {std::pair{QPalette::Window, look.window},
                                     {QPalette::WindowText, look.text},
                                     {QPalette::Base, look.box},
                                     {QPalette::AlternateBase, look.surface},
                                     {QPalette::Text, look.text},
                                     {QPalette::Button, look.surface},
                                     {QPalette::ButtonText, look.text},
                                     {QPalette::PlaceholderText, look.secondary},
                                     {QPalette::Highlight, look.accentFill},
                                     {QPalette::HighlightedText, "#ffffff"}})
        palette.setColor(role, QColor(color(name)));
    QApplication::setPalette(palette);
}

void dressBox(QMessageBox& box, bool isDark) {
    const Look& look = isDark ? dark : light;
    box.setIconPixmap(QIcon(QStringLiteral(":/com.vennic.desktop.svg")).pixmap(pictureSide, pictureSide));
    box.setStyleSheet(
        QStringLiteral(
            "QMessageBox { background: %1; }"
            "QLabel { color: %2; }"
            "QLabel#qt_msgbox_label { font-size: 15px; font-weight: 600; padding-top: 6px; }"
            "QLabel#qt_msgbox_informativelabel { color: %3; min-width: 26em; padding: 2px 0 6px 0; }"
            "QCheckBox { color: %2; spacing: 8px; padding: 4px; border: 2px solid transparent; border-radius: 6px; }"
            "QCheckBox:focus { border-color: %4; }"
            "QPushButton { background: %5; color: %2; border: 2px solid %5; border-radius: 8px;"
            " min-width: 80px; padding: 5px 12px; font-weight: 500; outline: none; }"
            "QPushButton:hover { background: %6; border-color: %6; }"
            "QPushButton:default { background: %7; color: #ffffff; border-color: %7; }"
            "QPushButton:focus { border-color: %4; }"
            "QPushButton:default:focus { border-color: %2; }")
            .arg(color(look.window), color(look.text), color(look.secondary), color(look.accent), color(look.surface),
                 color(look.hovered), color(look.accentFill)));
}

} // namespace vennic
