import QtQuick
import Vennic

Item {
    id: root
    required property QtObject tab

    Page {
        width: parent.width
        height: parent.height - log.height

        LocalServerSection { width: parent.width; tab: root.tab }
        DefaultModelSection { width: parent.width; tab: root.tab }
        CatalogSection { width: parent.width; tab: root.tab }
        InstallSection { width: parent.width; tab: root.tab }
        DiagnosticSection { width: parent.width; tab: root.tab }
        LoadedModelsSection { width: parent.width; tab: root.tab }
    }
    LogPane {
        id: log
        anchors.bottom: parent.bottom
        width: parent.width
        tab: root.tab
    }
    Question {
        title: root.tab.deleteTitle
        message: root.tab.deleteMessage
        acceptText: qsTr("Supprimer")
        visible: root.tab.isDeletePending
        onAccepted: root.tab.deleteModel()
        onClosed: root.tab.keepModel()
    }
}
