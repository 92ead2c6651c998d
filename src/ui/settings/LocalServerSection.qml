import QtQuick
import Vennic

// Whether the local model works for the backend, where its server is, and how it fares.
Section {
    id: root
    required property QtObject tab

    Switch {
        objectName: "localLLMEnabled"
        width: parent.width
        text: qsTr("Activer le LLM local")
        checked: root.tab.localLLMEnabled
        onToggled: root.tab.localLLMEnabled = checked
    }
    Note {
        text: qsTr("Quand actif, le Mac traite les requêtes `llm_infer` envoyées par le backend et renvoie la réponse du serveur local. Les conversations ne quittent pas ton Mac.")
        marksCode: true
    }
    TextField {
        objectName: "endpoint"
        width: parent.width
        placeholderText: "http://localhost:8080/v1"
        text: root.tab.localLLMEndpoint
        inputMethodHints: Qt.ImhUrlCharactersOnly | Qt.ImhNoPredictiveText
        Accessible.name: qsTr("Adresse du serveur")
        onTextEdited: root.tab.localLLMEndpoint = text
        onAccepted: root.tab.checkHealth()
    }
    Note {
        text: qsTr("URL de base compatible OpenAI (sans `/chat/completions`).")
        marksCode: true
    }
    StatusRow {
        objectName: "health"
        width: parent.width
        label: root.tab.healthLabel
        dot: [Theme.gray, Theme.orange, Theme.green, Theme.red][root.tab.health]
    }
    Row {
        spacing: Theme.gap
        Button {
            objectName: "recheck"
            text: qsTr("Re-tester")
            available: !root.tab.isBusy
            onClicked: root.tab.checkHealth()
        }
        Button {
            objectName: "restart"
            text: qsTr("Redémarrer")
            available: !root.tab.isBusy
            onClicked: root.tab.restartServer()
        }
        Spinner {
            anchors.verticalCenter: parent.verticalCenter
            size: 16
            running: root.tab.isRestarting
        }
    }
    Note {
        visible: root.tab.isRestarting || root.tab.isApplying
        text: qsTr("Redémarrage en cours… le premier chargement du modèle prend 15-30s.")
    }
}
