import QtQuick
import QtQuick.Templates as T
import Vennic

Page {
    id: root
    required property QtObject tab

    Section {
        title: qsTr("Bridge local")
        width: parent.width
        Switch {
            objectName: "bridgeEnabled"
            width: parent.width
            text: qsTr("Activer le pont local")
            enabled: root.tab.isAuthenticated
            checked: root.tab.bridgeEnabled
            onToggled: root.tab.bridgeEnabled = checked
        }
        Note { text: root.tab.explanation }
    }

    Section {
        title: qsTr("Connexion")
        width: parent.width
        StatusRow {
            width: parent.width
            label: root.tab.statusLabel
            dot: [Theme.gray, Theme.green, Theme.orange, Theme.red][root.tab.statusColor]
        }
        ValueRow {
            visible: root.tab.tasksServed > 0
            width: parent.width
            label: qsTr("Tâches exécutées")
            value: root.tab.tasksServed
        }
        ValueRow {
            visible: root.tab.lastActivity !== ""
            width: parent.width
            label: qsTr("Dernière activité")
            value: root.tab.lastActivity
        }
        ErrorNote { text: root.tab.lastErrorMessage }
    }

    FoldersSection {
        width: parent.width
        tab: root.tab
    }
}
