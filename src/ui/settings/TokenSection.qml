import QtQuick
import Vennic

// The token itself, for who has one already.
Section {
    id: root
    required property QtObject tab

    title: qsTr("Jeton manuel (avancé)")

    Row {
        width: parent.width
        spacing: Theme.gap
        SecretField {
            objectName: "token"
            width: parent.width - save.width - clear.width - 2 * parent.spacing
            placeholderText: "X-User-Token"
            draft: root.tab.tokenDraft
            // An empty field signs out, which takes the button.
            onAccepted: if (root.tab.tokenDraft.length > 0) root.tab.saveToken()
            onPasteRequested: root.tab.pasteToken()
            Symbol {
                anchors.right: parent.right
                anchors.rightMargin: 8
                anchors.verticalCenter: parent.verticalCenter
                visible: root.tab.savedFlash
                name: "checkmark.circle.fill"
                size: 16
                color: Theme.green
                Accessible.ignored: false
                Accessible.role: Accessible.AlertMessage
                Accessible.name: qsTr("Enregistré")
            }
        }
        Button {
            id: save
            objectName: "saveToken"
            text: qsTr("Enregistrer")
            onClicked: root.tab.saveToken()
        }
        Button {
            id: clear
            objectName: "clearToken"
            text: qsTr("Effacer")
            onClicked: root.tab.clearToken()
        }
    }
    Note {
        text: qsTr("Si tu préfères : colle un X-User-Token déjà émis par le backend.")
    }
}
