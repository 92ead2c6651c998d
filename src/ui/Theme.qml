pragma Singleton
import QtQuick

// The look of every surface. What depends on the desktop is set from outside: dark, animated, composited.
QtObject {
    property bool dark: false
    property bool animated: true
    property bool composited: false

    readonly property color window: dark ? "#1d1e23" : "#fcfcfd"
    readonly property color raised: dark ? "#26282e" : "#ffffff"
    readonly property color surface: dark ? "#2a2c33" : "#f0f1f5"
    readonly property color hovered: dark ? "#33363e" : "#e6e8ee"
    readonly property color pressed: dark ? "#3d4049" : "#d9dce5"
    readonly property color line: dark ? "#3a3d46" : "#dcdfe6"
    readonly property color text: dark ? "#ecedf0" : "#1b1c21"
    readonly property color secondary: dark ? "#a4a8b3" : "#646873"
    readonly property color accent: dark ? "#98a2ff" : "#4653d8"
    readonly property color accentFill: dark ? "#5561e6" : "#4653d8"
    readonly property color accentText: "#ffffff"
    readonly property color code: dark ? "#1a1b1f" : "#e3e5ec"
    readonly property color blue: dark ? "#5a9dff" : "#2374ee"
    readonly property color red: dark ? "#ff6b6e" : "#d6363b"
    readonly property color redFill: dark ? "#c73f45" : "#d6363b"
    readonly property color green: dark ? "#4cc27a" : "#1f9d55"
    readonly property color orange: dark ? "#f0a04b" : "#c26a12"
    readonly property color gray: dark ? "#a4a8b3" : "#646873"
    readonly property color errorGround: dark ? "#3b2528" : "#fdecec"

    readonly property int small: 11
    readonly property int body: 13
    readonly property int title: 15
    readonly property real lineHeight: 1.35

    readonly property int gap: 8
    readonly property int padding: 14
    readonly property int radius: 8
    readonly property int windowRadius: composited ? 14 : 0
    function escaped(words) {
        return words.replace(/&/g, "&amp;").replace(/</g, "&lt;").replace(/"/g, "&quot;");
    }

    readonly property int quick: animated ? 120 : 0
    readonly property int calm: animated ? 200 : 0
}
