import QtQuick
import Vennic

// The model that the server is asked for.
Section {
    id: root
    required property QtObject tab

    title: qsTr("Modèle par défaut")

    ModelCatalogPicker {
        objectName: "model"
        width: parent.width
        picker: root.tab.picker
        onCustomChosen: Qt.callLater(custom.forceActiveFocus)
    }
    TextField {
        id: custom
        objectName: "customModel"
        visible: root.tab.picker.isWritingCustom
        width: parent.width
        placeholderText: "org/model-MLX-4bit"
        text: root.tab.picker.customModel
        inputMethodHints: Qt.ImhNoPredictiveText | Qt.ImhNoAutoUppercase
        Accessible.name: qsTr("Identifiant Hugging Face du modèle")
        onTextEdited: root.tab.picker.customModel = text
    }
    Note { text: root.tab.picker.hint }
    Row {
        spacing: Theme.gap
        Button {
            objectName: "apply"
            text: qsTr("Appliquer et redémarrer")
            prominent: true
            available: !root.tab.isBusy && root.tab.picker.chosen !== ""
            onClicked: if (available) root.tab.applyModel()
        }
        Spinner {
            anchors.verticalCenter: parent.verticalCenter
            size: 16
            running: root.tab.isApplying
        }
    }
    Note { text: root.tab.memoryNote; visible: text !== "" }
}
