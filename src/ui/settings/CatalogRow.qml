import QtQuick
import Vennic

// One model of the catalogue: its weights can be downloaded, or deleted.
Item {
    id: root
    required property QtObject tab
    required property var model
    // Asked for anew with each revision.
    readonly property bool isDownloaded: tab.picker.revision >= 0 && tab.picker.isDownloaded(model.id)
    readonly property string detail: tab.picker.revision >= 0 ? tab.picker.detailOf(model.id) : ""
    readonly property bool isDownloading: tab.downloadingId === model.id
    readonly property bool isDeleting: tab.deletingIds.includes(model.id)

    implicitHeight: 40 + (isDownloading ? progress.height + 6 : 0)
    Accessible.role: Accessible.ListItem
    Accessible.name: model.title + ", " + detail
    // The one of the two buttons that had the keyboard goes; the other one takes its place.
    onIsDownloadedChanged: Qt.callLater(passOn)

    function passOn() {
        if (isDownloaded && download.activeFocus)
            remove.forceActiveFocus(download.focusReason);
        else if (!isDownloaded && remove.activeFocus)
            download.forceActiveFocus(remove.focusReason);
    }

    Symbol {
        id: icon
        y: 10
        name: root.isDownloaded ? "checkmark.circle.fill" : "cube"
        size: 20
        color: root.isDownloaded ? Theme.green : Theme.secondary
    }
    Column {
        anchors.left: icon.right
        anchors.leftMargin: 10
        anchors.right: controls.left
        anchors.rightMargin: Theme.gap
        y: 2
        spacing: 2
        Row {
            width: parent.width
            spacing: 8
            Text {
                width: Math.min(implicitWidth, parent.width - (warning.visible ? warning.width + parent.spacing : 0))
                text: root.model.title
                textFormat: Text.PlainText
                elide: Text.ElideRight
                font.pixelSize: Theme.body
                color: Theme.text
                Accessible.ignored: true
            }
            Text {
                id: warning
                anchors.baseline: parent.children[0].baseline
                visible: root.model.exceedsMemory
                text: qsTr("⚠︎ RAM")
                textFormat: Text.PlainText
                font.pixelSize: Theme.small
                font.weight: Font.Medium
                color: Theme.orange
                Accessible.ignored: true
            }
        }
        Text {
            width: parent.width
            text: root.model.measures
            textFormat: Text.PlainText
            elide: Text.ElideRight
            font.pixelSize: Theme.small
            color: Theme.secondary
            Accessible.ignored: true
        }
    }
    Row {
        id: controls
        anchors.right: parent.right
        y: 5
        spacing: Theme.gap
        Spinner {
            anchors.verticalCenter: parent.verticalCenter
            size: 16
            running: root.isDownloading || root.isDeleting
        }
        Button {
            id: download
            objectName: "download"
            visible: !root.isDownloaded
            text: qsTr("Télécharger")
            available: root.tab.downloadingId === "" && !root.tab.isInstalling && !root.isDeleting
            Accessible.name: qsTr("Télécharger %1").arg(root.model.title)
            onClicked: root.tab.download(root.model.id)
        }
        IconButton {
            id: remove
            objectName: "delete"
            visible: root.isDownloaded
            available: !root.isDownloading && !root.isDeleting
            symbol: "trash"
            help: qsTr("Supprimer les poids du cache")
            Accessible.name: qsTr("Supprimer les poids du cache : %1").arg(root.model.title)
            onClicked: root.tab.askToDelete(root.model.id)
        }
    }
    DownloadProgress {
        id: progress
        visible: root.isDownloading
        y: 42
        x: 30
        width: parent.width - x
        words: root.isDownloading ? root.tab.downloadProgress : ""
        percentage: root.isDownloading ? root.tab.downloadPercentage : -1
    }
}
