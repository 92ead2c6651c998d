import QtQuick
import QtQuick.Templates as T
import Vennic

T.MenuItem {
    id: root
    property string symbol: ""
    property string subtitle: ""
    property bool marked: false // the current choice
    property bool markable: false

    implicitWidth: 238
    implicitHeight: subtitle === "" ? 30 : 44
    width: ListView.view ? ListView.view.width : implicitWidth
    hoverEnabled: true
    opacity: enabled ? 1 : 0.6
    Accessible.name: subtitle === "" ? text : text + ", " + subtitle
    Accessible.description: enabled ? "" : qsTr("Indisponible")
    Accessible.onPressAction: if (enabled) clicked()
    Accessible.checkable: markable
    Accessible.checked: marked

    contentItem: Item {
        Symbol {
            id: icon
            x: 10
            anchors.verticalCenter: parent.verticalCenter
            visible: root.symbol !== ""
            name: root.symbol
            size: 16
            color: root.highlighted ? Theme.accentText : Theme.secondary
        }
        Column {
            anchors.verticalCenter: parent.verticalCenter
            x: root.symbol !== "" || root.markable ? 34 : 10
            width: parent.width - x - (check.visible ? 32 : 10)
            spacing: 1
            Text {
                width: parent.width
                text: root.text
                textFormat: Text.PlainText
                elide: Text.ElideRight
                font.pixelSize: Theme.body
                color: root.highlighted ? Theme.accentText : Theme.text
            }
            Text {
                visible: root.subtitle !== ""
                width: parent.width
                text: root.subtitle
                textFormat: Text.PlainText
                elide: Text.ElideRight
                font.pixelSize: Theme.small
                color: root.highlighted ? Theme.accentText : Theme.secondary
            }
        }
        Symbol {
            id: check
            anchors.right: parent.right
            anchors.rightMargin: 10
            anchors.verticalCenter: parent.verticalCenter
            visible: root.marked
            name: "checkmark"
            size: 14
            color: root.highlighted ? Theme.accentText : Theme.accent
        }
    }
    background: Rectangle {
        radius: Theme.radius - 2
        color: root.highlighted ? Theme.accentFill : "transparent"
    }
}
