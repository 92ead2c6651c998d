import QtQuick
import Vennic

// The folders that the bridge may reach.
Section {
    id: root
    required property QtObject tab

    title: qsTr("Dossiers partagés")

    Note {
        visible: root.tab.folders.length === 0
        text: qsTr("Aucun dossier partagé. Ajoute-en un pour que Vennic puisse y chercher.")
    }
    Column {
        visible: root.tab.folders.length > 0
        width: parent.width
        spacing: 4
        Accessible.role: Accessible.List
        Accessible.name: root.title
        Repeater {
            id: rows
            model: root.tab.folders
            FolderRow {
                required property var modelData
                width: parent.width
                folder: modelData
                onRemoved: {
                    add.forceActiveFocus(Qt.TabFocusReason); // its own button goes with it
                    root.tab.removeFolder(modelData.id);
                }
            }
        }
    }
    Button {
        id: add
        objectName: "addFolder"
        text: qsTr("Ajouter un dossier…")
        enabled: !root.tab.isPicking
        onClicked: root.tab.pickFolder()
        onEnabledChanged: focusReason = Qt.TabFocusReason // it gets back the keyboard that it had, in sight
    }
    ErrorNote { text: root.tab.addError }
    Note {
        text: qsTr("Les dossiers sensibles (~/.ssh, Keychains, …) sont refusés même si tu les sélectionnes.")
    }
}
