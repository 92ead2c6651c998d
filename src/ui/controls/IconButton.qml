import QtQuick
import QtQuick.Templates as T
import Vennic

// A button that shows a symbol alone; its help text is its name.
T.AbstractButton {
    id: root
    required property string symbol
    property string help: text
    property color tint: Theme.secondary
    property color ground: "transparent"
    property int symbolSize: 18
    property bool available: true // one that isn't for a while keeps the keyboard, if it has it

    implicitWidth: 30
    implicitHeight: 30
    hoverEnabled: true
    focusPolicy: Qt.TabFocus // a click leaves the keyboard where somebody writes
    text: help
    enabled: available || activeFocus
    opacity: enabled && available ? 1 : 0.3
    Accessible.name: text
    // This toolkit tells readers of the screen that every control is enabled.
    Accessible.description: enabled && available ? "" : qsTr("Indisponible")

    contentItem: Item {
        Symbol {
            anchors.centerIn: parent
            name: root.symbol
            size: root.symbolSize
            color: root.tint
        }
    }
    background: Rectangle {
        radius: Theme.radius
        color: root.down ? Theme.pressed : root.hovered && root.enabled && root.available ? Theme.hovered : root.ground
    }
    FocusRing { of: root }
    HelpTip { help: root.help; wanted: root.hovered || root.visualFocus; pressed: root.down }
}
