import QtQuick
import Vennic

// What went wrong last, until somebody takes it away.
Rectangle {
    id: root
    required property QtObject menuBar

    visible: menuBar.lastError !== ""
    implicitHeight: visible ? Math.max(36, words.height + 18) : 0
    color: Theme.errorGround
    Accessible.role: Accessible.AlertMessage
    Accessible.name: menuBar.lastError

    Text {
        id: words
        anchors.left: parent.left
        anchors.leftMargin: Theme.padding + 2
        anchors.right: dismiss.left
        anchors.rightMargin: Theme.gap
        anchors.verticalCenter: parent.verticalCenter
        text: root.menuBar.lastError
        textFormat: Text.PlainText
        wrapMode: Text.Wrap
        maximumLineCount: 4
        elide: Text.ElideRight
        font.pixelSize: Theme.small + 1
        color: Theme.text
        Accessible.ignored: true
    }
    IconButton {
        id: dismiss
        anchors.right: parent.right
        anchors.rightMargin: Theme.padding - 6
        anchors.verticalCenter: parent.verticalCenter
        symbol: "xmark"
        symbolSize: 14
        help: qsTr("Masquer")
        onClicked: root.menuBar.dismissError()
    }
}
