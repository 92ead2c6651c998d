import QtQuick
import Vennic

// What the local server is made of, and the button that puts it there.
Section {
    id: root
    required property QtObject tab

    title: qsTr("Installation")

    Column {
        width: parent.width
        spacing: 6
        Accessible.role: Accessible.List
        Accessible.name: root.title
        Repeater {
            model: root.tab.components
            ComponentRow {
                required property var modelData
                width: parent.width
                component: modelData
            }
        }
    }
    Row {
        spacing: Theme.gap
        Button {
            objectName: "install"
            text: qsTr("Installer")
            prominent: true
            available: !root.tab.isBusy && root.tab.downloadingId === ""
            onClicked: root.tab.runInstall()
        }
        Spinner {
            anchors.verticalCenter: parent.verticalCenter
            size: 16
            running: root.tab.isInstalling
        }
    }
    LinkNote {
        objectName: "packageManagerSite"
        before: qsTr("Prérequis : Homebrew (")
        address: root.tab.packageManagerSite
        after: qsTr("). Le reste (uv, mlx-lm, LaunchAgent) est géré par ce bouton.")
        onFollowed: root.tab.openPackageManagerSite()
    }
}
