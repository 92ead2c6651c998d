import QtQuick
import Vennic

// One thing that the local server takes, and where it is.
Item {
    id: root
    required property var component

    implicitHeight: 22
    Accessible.role: Accessible.ListItem
    Accessible.name: component.label + (component.installed ? qsTr(", installé") : qsTr(", absent"))
    Accessible.description: component.detail

    Symbol {
        id: icon
        anchors.verticalCenter: parent.verticalCenter
        name: root.component.installed ? "checkmark.circle.fill" : "circle"
        size: 18
        color: root.component.installed ? Theme.green : Theme.secondary
    }
    Text {
        id: label
        anchors.left: icon.right
        anchors.leftMargin: 10
        anchors.verticalCenter: parent.verticalCenter
        text: root.component.label
        textFormat: Text.PlainText
        font.pixelSize: Theme.body
        color: Theme.text
        Accessible.ignored: true
    }
    Text {
        anchors.left: label.right
        anchors.leftMargin: 16
        anchors.right: parent.right
        anchors.verticalCenter: parent.verticalCenter
        horizontalAlignment: Text.AlignRight
        text: root.component.installed ? root.component.detail : qsTr("absent")
        textFormat: Text.PlainText
        elide: Text.ElideMiddle
        font.pixelSize: Theme.small
        color: Theme.secondary
        Accessible.ignored: true
    }
}
