import QtQuick
import Vennic

Item {
    implicitHeight: 9
    implicitWidth: 238
    width: ListView.view ? ListView.view.width : implicitWidth
    Rectangle {
        anchors.verticalCenter: parent.verticalCenter
        x: 8
        width: parent.width - 16
        height: 1
        color: Theme.line
    }
}
