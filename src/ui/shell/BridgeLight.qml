import QtQuick
import QtQuick.Templates as T
import Vennic

// Says by its colour, and in words, how the bridge does.
T.Control {
    id: root
    required property QtObject menuBar

    implicitWidth: 22
    implicitHeight: 22
    hoverEnabled: true
    focusPolicy: Qt.TabFocus
    Accessible.role: Accessible.Indicator
    Accessible.name: menuBar.bridgeHelp

    contentItem: Item {
        Rectangle {
            anchors.centerIn: parent
            width: 8
            height: 8
            radius: 4
            color: [Theme.blue, Theme.red, Theme.gray, Theme.green][root.menuBar.bridgeColor]
            opacity: root.menuBar.bridgeOpacity
        }
    }
    FocusRing { of: root; inset: 0 }
    HelpTip { help: root.menuBar.bridgeHelp; wanted: root.hovered || root.visualFocus }
}
