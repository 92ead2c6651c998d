import QtQuick
import Vennic

// Says by its colour, and in words, how the bridge does.
Item {
    id: root
    required property QtObject menuBar

    implicitWidth: 22
    implicitHeight: 22
    activeFocusOnTab: true
    Accessible.role: Accessible.Graphic
    Accessible.name: menuBar.bridgeHelp
    Accessible.focusable: true

    HoverHandler {
        id: hover
    }
    Rectangle {
        anchors.centerIn: parent
        width: 8
        height: 8
        radius: 4
        color: [Theme.blue, Theme.red, Theme.gray, Theme.green][root.menuBar.bridgeColor]
        opacity: root.menuBar.bridgeOpacity
    }
    FocusRing { of: root; inset: 0 }
    HelpTip { help: root.menuBar.bridgeHelp; wanted: hover.hovered || root.activeFocus }
}
