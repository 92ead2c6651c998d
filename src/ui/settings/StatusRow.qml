import QtQuick
import Vennic

// What the bridge is doing, with a dot in its colour.
Row {
    id: root
    required property string label
    required property color dot

    spacing: 10
    Accessible.role: Accessible.Indicator
    Accessible.name: label
    Rectangle {
        anchors.verticalCenter: parent.verticalCenter
        width: 9
        height: 9
        radius: 4.5
        color: root.dot
    }
    Text {
        width: parent.width - 19
        text: root.label
        textFormat: Text.PlainText
        elide: Text.ElideRight
        font.pixelSize: Theme.body
        color: Theme.text
        Accessible.ignored: true
    }
}
