import QtQuick
import Vennic

// How the token is guarded.
Section {
    id: root
    required property QtObject tab

    title: qsTr("Sécurité")

    Switch {
        objectName: "highSecurity"
        width: parent.width
        text: qsTr("Mode haute sécurité")
        checked: root.tab.highSecurityOn
        onToggled: root.tab.highSecurityOn = checked
    }
    Note {
        text: qsTr("Exige Touch ID / Apple Watch / mot de passe Mac à chaque lecture du jeton depuis le Trousseau.")
    }
    Rectangle {
        visible: root.tab.quitConfirmationSuppressed
        width: parent.width
        height: 1
        color: Theme.line
    }
    Row {
        visible: root.tab.quitConfirmationSuppressed
        width: parent.width
        spacing: Theme.gap
        Text {
            anchors.verticalCenter: parent.verticalCenter
            width: parent.width - restore.width - parent.spacing
            text: qsTr("Confirmation avant de quitter désactivée.")
            textFormat: Text.PlainText
            wrapMode: Text.Wrap
            font.pixelSize: Theme.body
            color: Theme.text
            Accessible.role: Accessible.StaticText
            Accessible.name: text
        }
        Button {
            id: restore
            objectName: "restoreQuitConfirmation"
            text: qsTr("Réactiver")
            onClicked: root.tab.restoreQuitConfirmation()
        }
    }
}
