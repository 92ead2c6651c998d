import QtQuick
import QtQuick.Templates as T
import Vennic

// What the tools say while they work and what went wrong, at the foot of the tab for as long as there is any of it.
Item {
    id: root
    required property QtObject tab
    readonly property bool isRunning: tab.isBusy || tab.downloadingId !== ""
    property bool isHidden: false
    readonly property bool isShown: !isHidden && (tab.shownLog.length > 0 || tab.installError !== "")

    visible: isShown
    height: isShown ? column.height + 20 : 0
    Accessible.role: Accessible.Pane
    Accessible.name: qsTr("Journal")

    // Whatever begins shows it again.
    Connections {
        target: root.tab
        function onActionChanged() { root.isHidden = root.isHidden && !root.tab.isBusy; }
        function onDownloadingIdChanged() { root.isHidden = root.isHidden && root.tab.downloadingId === ""; }
        function onInstallErrorChanged() { root.isHidden = root.isHidden && root.tab.installError === ""; }
    }

    Rectangle {
        width: parent.width
        height: 1
        color: Theme.line
    }
    Column {
        id: column
        x: 20
        y: 8
        width: parent.width - 40
        spacing: 6

        Row {
            width: parent.width
            spacing: Theme.gap
            Text {
                anchors.verticalCenter: parent.verticalCenter
                text: qsTr("Journal")
                textFormat: Text.PlainText
                font.pixelSize: Theme.small + 1
                font.weight: Font.DemiBold
                color: Theme.secondary
                Accessible.role: Accessible.Heading
                Accessible.name: text
            }
            Spinner {
                anchors.verticalCenter: parent.verticalCenter
                size: 14
                running: root.isRunning
            }
            Text {
                anchors.verticalCenter: parent.verticalCenter
                width: parent.width - x - 2 * 28 - 2 * parent.spacing
                text: root.tab.isInstalling || root.tab.downloadingId !== "" ? qsTr("Fermer la fenêtre interrompt l'opération.") : ""
                textFormat: Text.PlainText
                elide: Text.ElideRight
                font.pixelSize: Theme.small
                color: Theme.secondary
                Accessible.role: Accessible.StaticText
                Accessible.name: text
                Accessible.ignored: text === ""
            }
            IconButton {
                objectName: "copyLog"
                width: 28
                height: 28
                symbol: "doc.on.doc"
                symbolSize: 16
                help: qsTr("Copier le journal")
                enabled: log.length > 0
                onClicked: {
                    log.selectAll();
                    log.copy();
                    log.deselect();
                }
            }
            IconButton {
                objectName: "hideLog"
                width: 28
                height: 28
                symbol: "xmark"
                symbolSize: 16
                help: qsTr("Masquer le journal")
                onClicked: root.isHidden = true
            }
        }
        ErrorNote {
            objectName: "installError"
            text: root.tab.installError
        }
        Rectangle {
            visible: log.length > 0
            width: parent.width
            height: 118
            radius: Theme.radius
            color: Theme.dark ? Theme.code : Theme.surface
            FocusRing { of: log }

            Flickable {
                id: flick
                property bool follows: true // the end, unless somebody has scrolled up

                anchors.fill: parent
                anchors.margins: 8
                contentWidth: width
                contentHeight: log.contentHeight
                clip: true
                boundsBehavior: Flickable.StopAtBounds
                T.ScrollBar.vertical: ScrollBar {}
                onContentYChanged: follows = contentY >= contentHeight - height - 1
                onContentHeightChanged: if (follows) toEnd()
                onHeightChanged: if (follows) toEnd()

                function toEnd() {
                    contentY = Math.max(0, contentHeight - height);
                }
                function reveal(place) {
                    contentY = Math.max(0, Math.min(place.y, Math.max(contentY, place.y + place.height - height)));
                }

                TextEdit {
                    id: log
                    objectName: "log"
                    width: flick.width
                    readOnly: true
                    selectByMouse: true
                    selectByKeyboard: true
                    activeFocusOnTab: true
                    wrapMode: TextEdit.Wrap
                    textFormat: TextEdit.PlainText
                    font.family: "monospace"
                    font.pixelSize: Theme.small
                    color: Theme.text
                    selectionColor: Theme.accentFill
                    selectedTextColor: Theme.accentText
                    Accessible.role: Accessible.EditableText
                    Accessible.name: qsTr("Journal")
                    Accessible.readOnly: true
                    Accessible.multiLine: true
                    // A cursor at the end moves with it, which is no reason to go there.
                    onCursorRectangleChanged: if (activeFocus && cursorPosition < length) flick.reveal(cursorRectangle)
                    Keys.onReleased: flick.reveal(cursorRectangle)
                    LogDocument {
                        textDocument: log.textDocument
                        lines: root.tab.shownLog
                    }
                }
            }
        }
    }
}
