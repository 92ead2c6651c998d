import QtQuick
import Vennic

// A name and its value.
Item {
    id: root
    required property string label
    required property string value

    implicitHeight: words.implicitHeight
    Accessible.role: Accessible.StaticText
    Accessible.name: label + " : " + value
    Text {
        id: words
        anchors.left: parent.left
        anchors.right: number.left
        anchors.rightMargin: Theme.gap
        text: root.label
        textFormat: Text.PlainText
        elide: Text.ElideRight
        font.pixelSize: Theme.body
        color: Theme.text
        Accessible.ignored: true
    }
    Text {
        id: number
        anchors.right: parent.right
        text: root.value
        textFormat: Text.PlainText
        font.pixelSize: Theme.body
        color: Theme.secondary
        Accessible.ignored: true
    }
}
