import QtQuick
import Vennic

// Which account this machine belongs to.
Section {
    id: root
    required property QtObject tab

    title: qsTr("Appairage")

    // Gives the keyboard to what says or asks for the account; no key ends a session from there.
    function takeFocus() {
        (root.tab.isAuthenticated ? account : code).forceActiveFocus(Qt.TabFocusReason);
    }

    // What had the keyboard goes; what takes its place gets it.
    Connections {
        target: root.tab
        function onAccountChanged() {
            if (root.tab.isAuthenticated ? code.activeFocus : signOut.activeFocus || account.activeFocus)
                root.takeFocus();
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
            onClicked: {
                code.forceActiveFocus(Qt.TabFocusReason); // a button that works keeps no keyboard
                root.tab.claimPairingCode();
            }
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
        Item {
            id: account
            objectName: "account"
            readonly property real most: parent.width - signOut.width - 2 * parent.spacing
            anchors.verticalCenter: parent.verticalCenter
            width: Math.min(most, Math.ceil(mark.width + Theme.gap + words.implicitWidth))
            height: mark.height
            activeFocusOnTab: true
            Accessible.role: Accessible.StaticText
            Accessible.name: root.tab.pairedAccount
            Accessible.focusable: true
            Symbol {
                id: mark
                anchors.verticalCenter: parent.verticalCenter
                name: "checkmark.circle.fill"
                size: 20
                color: Theme.green
            }
            Text {
                id: words
                anchors.left: mark.right
                anchors.leftMargin: Theme.gap
                anchors.right: parent.right
                anchors.verticalCenter: parent.verticalCenter
                text: root.tab.pairedAccount
                textFormat: Text.PlainText
                elide: Text.ElideMiddle
                font.pixelSize: Theme.body
                color: Theme.text
                Accessible.ignored: true
            }
            FocusRing { of: account; inset: -6 }
        }
        Item {
            width: Math.max(1, account.most - account.width)
            height: 1
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
