import QtQuick
import QtQuick.Templates as T
import Vennic

// The input: what the user writes, who answers, and the way to send it.
Item {
    id: root
    required property QtObject chat
    required property QtObject picker

    implicitHeight: box.height + 2 * 12
    function takeFocus() {
        field.forceActiveFocus()
        field.cursorPosition = field.length
    }

    Connections {
        target: root.chat
        function onInputFocusedChanged() {
            if (root.chat.inputFocused && !field.activeFocus)
                root.takeFocus()
        }
    }

    Rectangle {
        width: parent.width
        height: 1
        color: Theme.line
    }
    Rectangle {
        id: box
        x: 12
        y: 12
        width: parent.width - 24
        height: flick.height + bar.height + 26
        radius: 12
        color: Theme.raised
        border.width: field.activeFocus ? 2 : 1
        border.color: field.activeFocus ? Theme.accent : Theme.line

        Flickable {
            id: flick
            x: 12
            y: 10
            width: parent.width - 2 * x
            // One to four lines.
            height: Math.min(field.implicitHeight, Math.ceil(4 * metrics.lineSpacing))
            clip: true
            interactive: contentHeight > height
            boundsBehavior: Flickable.StopAtBounds
            T.ScrollBar.vertical: ScrollBar {}

            T.TextArea.flickable: T.TextArea {
                id: field
                objectName: "draft"
                implicitWidth: flick.width
                implicitHeight: contentHeight
                padding: 0 // the flickable would scroll it away
                wrapMode: TextEdit.Wrap
                textFormat: TextEdit.PlainText
                selectByMouse: true
                font.family: Qt.application.font.family
                font.pixelSize: Theme.body
                color: Theme.text
                selectionColor: Theme.accentFill
                selectedTextColor: Theme.accentText
                placeholderText: qsTr("Pose ta question…")
                focus: true
                text: root.chat.draft
                onTextChanged: root.chat.draft = text
                onActiveFocusChanged: root.chat.inputFocused = activeFocus
                Accessible.role: Accessible.EditableText
                Accessible.name: placeholderText
                Accessible.multiLine: true

                Text {
                    visible: field.length === 0 && field.preeditText === ""
                    text: field.placeholderText
                    font: field.font
                    color: Theme.secondary
                    Accessible.ignored: true
                }
                function sendOrBreak(event) {
                    if (event.modifiers & Qt.ShiftModifier) {
                        field.insert(field.cursorPosition, "\n")
                    } else {
                        root.chat.send()
                    }
                    event.accepted = true
                }
                Keys.onReturnPressed: event => sendOrBreak(event)
                Keys.onEnterPressed: event => sendOrBreak(event)
                Keys.onTabPressed: nextItemInFocusChain(true).forceActiveFocus(Qt.TabFocusReason)
                Keys.onBacktabPressed: nextItemInFocusChain(false).forceActiveFocus(Qt.BacktabFocusReason)
            }
        }
        FontMetrics {
            id: metrics
            font: field.font
        }
        Item {
            id: bar
            x: 6
            anchors.bottom: parent.bottom
            anchors.bottomMargin: 6
            width: parent.width - 12
            height: 30
            ProviderPill {
                id: pill
                anchors.left: parent.left
                anchors.verticalCenter: parent.verticalCenter
                picker: root.picker
                width: Math.min(implicitWidth, bar.width - 80)
            }
            IconButton {
                anchors.right: send.left
                anchors.rightMargin: 4
                symbol: "square.and.pencil"
                symbolSize: 16
                help: qsTr("Nouvelle conversation")
                objectName: "forget"
                enabled: root.chat.canForget
                onClicked: root.chat.newConversation()
            }
            IconButton {
                id: send
                objectName: "send"
                anchors.right: parent.right
                symbol: "arrow.up.circle.fill"
                symbolSize: 26
                tint: enabled ? Theme.accentFill : Theme.secondary
                text: qsTr("Envoyer")
                help: qsTr("Envoyer (⌘↩)")
                enabled: root.chat.canSend
                onClicked: root.chat.send()
            }
        }
    }
}
