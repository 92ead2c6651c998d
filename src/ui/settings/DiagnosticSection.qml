import QtQuick
import Vennic

// Has the model say something, and leads to what its server wrote.
Section {
    id: root
    required property QtObject tab

    title: qsTr("Diagnostic")

    Row {
        spacing: Theme.gap
        Button {
            objectName: "test"
            text: qsTr("Tester l'inférence")
            available: !root.tab.isTesting
            onClicked: root.tab.runTest()
        }
        Button {
            objectName: "openLogs"
            text: qsTr("Ouvrir les logs")
            onClicked: root.tab.openLogs()
        }
        Spinner {
            anchors.verticalCenter: parent.verticalCenter
            size: 16
            running: root.tab.isTesting
        }
    }
    Note {
        objectName: "testOutput"
        visible: text !== ""
        text: root.tab.testOutput
        color: Theme.text
    }
    ErrorNote { objectName: "testError"; text: root.tab.testError }
}
