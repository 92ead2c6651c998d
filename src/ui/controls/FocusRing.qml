import QtQuick
import Vennic

// Shows which control has the keyboard. `of` is the control.
Rectangle {
    required property Item of
    property int inset: -2

    anchors.fill: parent
    anchors.margins: inset
    visible: of.activeFocus && (of.visualFocus ?? true)
    color: "transparent"
    radius: Theme.radius + 2
    border.width: 2
    border.color: Theme.accent
}
