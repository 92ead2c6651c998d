import QtQuick
import Vennic

// The words above a group of items of a menu.
Item {
    id: root
    property string text: ""

    implicitHeight: 26
    implicitWidth: 238
    width: ListView.view ? ListView.view.width : implicitWidth
    Accessible.role: Accessible.StaticText
    Accessible.name: text
    Text {
        anchors.left: parent.left
        anchors.leftMargin: 10
        anchors.right: parent.right
        anchors.bottom: parent.bottom
        anchors.bottomMargin: 5
        text: root.text
        textFormat: Text.PlainText
        elide: Text.ElideRight
        font.pixelSize: Theme.small
        font.weight: Font.DemiBold
        color: Theme.secondary
        Accessible.ignored: true
    }
}
