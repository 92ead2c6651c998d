import QtQuick
import QtQuick.Templates as T
import Vennic

// A button with words.
T.Button {
    id: root
    property bool prominent: false
    property bool destructive: false
    property string help: ""
    property bool available: true // one that isn't for a while keeps the keyboard, if it has it

    implicitWidth: contentItem.implicitWidth + leftPadding + rightPadding
    implicitHeight: 30
    leftPadding: 14
    rightPadding: 14
    hoverEnabled: true
    enabled: available || activeFocus
    opacity: enabled && available ? 1 : 0.4
    Accessible.name: text
    // This toolkit tells readers of the screen that every control is enabled.
    Accessible.description: enabled && available ? "" : qsTr("Indisponible")
    Accessible.onPressAction: if (enabled && available) clicked()

    contentItem: Text {
        text: root.text
        textFormat: Text.PlainText
        horizontalAlignment: Text.AlignHCenter
        verticalAlignment: Text.AlignVCenter
        elide: Text.ElideRight
        font.pixelSize: Theme.body
        font.weight: Font.Medium
        color: root.prominent || root.destructive ? Theme.accentText : Theme.text
    }
    background: Rectangle {
        radius: Theme.radius
        readonly property color fill: root.destructive ? Theme.redFill : Theme.accentFill
        color: root.prominent || root.destructive ? (root.down ? Qt.darker(fill, 1.15) : fill)
                              : root.down ? Theme.pressed : root.hovered && root.available ? Theme.hovered : Theme.surface
        border.width: root.prominent || root.destructive ? 0 : 1
        border.color: Theme.line
    }
    FocusRing { of: root }
    HelpTip { help: root.help; wanted: root.hovered || root.visualFocus; pressed: root.down }
}
