import QtQuick
import Vennic

// One shared folder.
Item {
    id: root
    required property var folder
    signal removed

    implicitHeight: 40
    Accessible.role: Accessible.ListItem
    Accessible.name: folder.name + ", " + place.text

    Symbol {
        id: icon
        anchors.verticalCenter: parent.verticalCenter
        name: "folder"
        size: 20
        color: root.folder.isMissing ? Theme.secondary : Theme.accent
    }
    Column {
        anchors.left: icon.right
        anchors.leftMargin: 10
        anchors.right: remove.left
        anchors.rightMargin: Theme.gap
        anchors.verticalCenter: parent.verticalCenter
        spacing: 2
        Text {
            width: parent.width
            text: root.folder.name
            textFormat: Text.PlainText
            elide: Text.ElideRight
            font.pixelSize: Theme.body
            color: Theme.text
            Accessible.ignored: true
        }
        Text {
            id: place
            width: parent.width
            text: root.folder.isMoved ? qsTr("%1 (déplacé)").arg(root.folder.path) : root.folder.path
            textFormat: Text.PlainText
            elide: root.folder.isMissing ? Text.ElideRight : Text.ElideMiddle
            font.pixelSize: Theme.small
            color: root.folder.isMissing ? Theme.orange : Theme.secondary
            Accessible.ignored: true
        }
    }
    IconButton {
        id: remove
        objectName: "remove"
        anchors.right: parent.right
        anchors.verticalCenter: parent.verticalCenter
        symbol: "minus.circle.fill"
        help: qsTr("Retirer")
        Accessible.name: qsTr("Retirer %1").arg(root.folder.name)
        onClicked: root.removed()
    }
}
