import QtQuick
import Vennic

// Which account this machine belongs to.
Section {
    id: root
    required property QtObject tab

    title: qsTr("Appairage")

    // What had the keyboard goes; what takes its place gets it.
    Connections {
        target: root.tab
        function onAccountChanged() {
            if (root.tab.isAuthenticated && code.activeFocus)
                signOut.forceActiveFocus(Qt.OtherFocusReason);
            else if (!root.tab.isAuthenticated && signOut.activeFocus)
                code.forceActiveFocus(Qt.OtherFocusReason);
        }
    }

    Row {
        visible: !root.tab.isAuthenticated
        width: parent.width
        spacing: Theme.gap
        TextField {
            id: code
            objectName: "pairCode"
            width: parent.width - pair.width - parent.spacing
            placeholderText: qsTr("Code à 8 caractères")
            text: root.tab.pairCode
            inputMethodHints: Qt.ImhNoPredictiveText
            onTextEdited: root.tab.pairCode = text
            onAccepted: root.tab.claimPairingCode()
            Spinner {
                anchors.right: parent.right
                anchors.rightMargin: 8
                anchors.verticalCenter: parent.verticalCenter
                size: 16
                running: root.tab.isPairingLoading
            }
        }
        Button {
            id: pair
            objectName: "pair"
            text: qsTr("Appairer")
            prominent: true
            enabled: root.tab.canPair
            onClicked: root.tab.claimPairingCode()
        }
    }
    ErrorNote {
        objectName: "pairError"
        text: root.tab.isAuthenticated ? "" : root.tab.pairError
    }
    LinkNote {
        objectName: "pairingPage"
        visible: !root.tab.isAuthenticated
        before: qsTr("Ouvre ")
        address: root.tab.pairingPage
        after: qsTr(" sur un navigateur où tu es connecté, puis copie ici le code à 8 caractères affiché.")
        onFollowed: root.tab.openPairingPage()
    }
    Row {
        visible: root.tab.isAuthenticated
        width: parent.width
        spacing: Theme.gap
        Symbol {
            anchors.verticalCenter: parent.verticalCenter
            name: "checkmark.circle.fill"
            size: 20
            color: Theme.green
        }
        Text {
            anchors.verticalCenter: parent.verticalCenter
            width: parent.width - 20 - signOut.width - 2 * parent.spacing
            text: root.tab.pairedAccount
            textFormat: Text.PlainText
            elide: Text.ElideMiddle
            font.pixelSize: Theme.body
            color: Theme.text
            Accessible.role: Accessible.StaticText
            Accessible.name: text
        }
        Button {
            id: signOut
            objectName: "signOut"
            text: qsTr("Se déconnecter")
            onClicked: root.tab.signOut()
        }
    }
    Note {
        visible: root.tab.isAuthenticated
        text: qsTr("Pour changer de compte, déconnecte-toi puis recommence avec un nouveau code.")
    }
}
