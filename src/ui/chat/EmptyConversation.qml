import QtQuick
import Vennic

Column {
    id: root
    spacing: 10
    Accessible.role: Accessible.StaticText
    Accessible.name: first.text + ". " + second.text

    Symbol {
        anchors.horizontalCenter: parent.horizontalCenter
        name: "sparkles"
        size: 40
        color: Theme.accent
    }
    Item { width: 1; height: 2 }
    Text {
        id: first
        anchors.horizontalCenter: parent.horizontalCenter
        text: qsTr("Commence une conversation")
        font.pixelSize: Theme.title
        font.weight: Font.Medium
        color: Theme.text
        Accessible.ignored: true
    }
    Text {
        id: second
        anchors.horizontalCenter: parent.horizontalCenter
        text: qsTr("⌘↩ pour envoyer")
        font.pixelSize: Theme.body
        color: Theme.secondary
        Accessible.ignored: true
    }
}
