import QtQuick
import Vennic

// The title with the bridge light, the modes, and the commands.
Item {
    id: root
    required property QtObject menuBar

    implicitHeight: 52
    Accessible.role: Accessible.ToolBar
    Accessible.name: "Vennic"

    Text {
        id: title
        anchors.left: parent.left
        anchors.leftMargin: Theme.padding + 2
        anchors.verticalCenter: parent.verticalCenter
        text: "Vennic"
        font.pixelSize: Theme.title
        font.weight: Font.DemiBold
        color: Theme.text
        Accessible.role: Accessible.Heading
        Accessible.name: text
    }
    BridgeLight {
        anchors.left: title.right
        anchors.leftMargin: 2
        anchors.verticalCenter: parent.verticalCenter
        menuBar: root.menuBar
    }
    Row {
        anchors.right: parent.right
        anchors.rightMargin: Theme.padding - 6
        anchors.verticalCenter: parent.verticalCenter
        spacing: 2
        ModeSwitcher {
            modes: root.menuBar.modes
        }
        Item {
            width: 6
            height: 1
            visible: root.menuBar.modes.isChoice
        }
        RecentsMenu {
            recents: root.menuBar.recents
        }
        IconButton {
            symbol: "square.and.pencil"
            help: qsTr("Nouvelle discussion (⌘N)")
            enabled: root.menuBar.canStartDiscussion
            onClicked: root.menuBar.newDiscussion()
        }
        IconButton {
            visible: root.menuBar.canOpenSettings
            symbol: "gearshape"
            help: qsTr("Réglages")
            onClicked: root.menuBar.openSettings()
        }
        IconButton {
            symbol: "power"
            help: qsTr("Quitter Vennic")
            onClicked: root.menuBar.quit()
        }
    }
    Rectangle {
        anchors.bottom: parent.bottom
        width: parent.width
        height: 1
        color: Theme.line
    }
}
