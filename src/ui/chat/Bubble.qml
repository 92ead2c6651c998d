import QtQuick
import QtQuick.Templates as T
import Vennic

// One row of the conversation: a message, or a part of a long one.
Item {
    id: root
    required property int index
    required property var runs
    required property string plain
    required property bool fromUser
    required property bool begins
    required property bool ends
    required property QtObject links
    required property QtObject transcript
    readonly property int most: ListView.view ? ListView.view.width - 2 * Theme.padding - (fromUser ? 40 : 16) : 300
    width: ListView.view ? ListView.view.width : 360
    // An answer that has yet to begin is no bubble: the dots say that it will.
    readonly property bool hasWords: plain !== "" || !begins || !ends
    visible: hasWords
    height: hasWords ? ground.height + (begins ? 8 : 0) : 0
    Accessible.role: Accessible.ListItem
    Accessible.name: (fromUser ? qsTr("Toi : ") : "Vennic : ") + plain

    Rectangle {
        id: ground
        y: root.begins ? 8 : 0
        x: root.fromUser ? root.width - width - Theme.padding : Theme.padding
        width: words.width + 24
        height: words.height + (root.begins ? 8 : 0) + (root.ends ? 6 : 0) // a line has air of its own below
        radius: 14
        color: root.fromUser ? Theme.accentFill : Theme.surface

        // A part of a message has no corners where the next one goes on.
        Rectangle { visible: !root.begins; width: parent.width; height: 14; color: parent.color }
        Rectangle { visible: !root.ends; width: parent.width; height: 14; anchors.bottom: parent.bottom; color: parent.color }

        TextEdit {
            id: words
            x: 12
            y: root.begins ? 8 : 0
            width: root.begins && root.ends ? Math.min(root.most - 24, Math.ceil(implicitWidth)) : root.most - 24
            readOnly: true
            selectByMouse: true
            textFormat: TextEdit.PlainText
            wrapMode: TextEdit.Wrap
            font.pixelSize: Theme.body
            color: root.fromUser ? Theme.accentText : Theme.text
            selectionColor: root.fromUser ? "#ffffff" : Theme.accentFill
            selectedTextColor: root.fromUser ? Theme.accentFill : Theme.accentText
            activeFocusOnPress: true
            onLinkActivated: link => root.links.follow(link)
            Accessible.ignored: true

            HoverHandler {
                cursorShape: words.hoveredLink !== "" ? Qt.PointingHandCursor : Qt.IBeamCursor
            }
            TapHandler {
                acceptedButtons: Qt.RightButton
                onTapped: copying.active = true
            }
        }
        MessageDocument {
            id: content
            textDocument: words.textDocument
            runs: root.runs
            linkColor: Theme.accent
            codeGround: Theme.code
        }
        Repeater {
            model: content.links
            Item {
                id: link
                required property var modelData
                readonly property rect first: place(modelData.start, words.width, words.contentWidth, words.contentHeight)
                readonly property rect last: place(modelData.end, words.width, words.contentWidth, words.contentHeight)
                // Where a character stands changes with the layout, which says so by these sizes alone, and before the
                // links do.
                function place(character, width, contentWidth, contentHeight) {
                    return words.positionToRectangle(Math.min(character, words.length))
                }
                x: words.x + first.x - 2
                y: words.y + first.y
                width: (last.y === first.y ? last.x - first.x : words.contentWidth - first.x) + 4
                height: first.height
                activeFocusOnTab: true
                Accessible.role: Accessible.Link
                Accessible.name: modelData.label
                Accessible.description: root.links.shownAddress(modelData.address)
                Accessible.onPressAction: root.links.follow(modelData.address)
                Keys.onReturnPressed: root.links.follow(modelData.address)
                Keys.onEnterPressed: root.links.follow(modelData.address)
                Keys.onSpacePressed: root.links.follow(modelData.address)
                FocusRing { of: link; radius: 4; inset: -1 }
            }
        }
        HelpTip {
            help: root.links.shownAddress(words.hoveredLink)
            wanted: words.hoveredLink !== ""
        }
        Rectangle {
            anchors.fill: parent
            anchors.margins: -3
            visible: root.activeFocus
            radius: 16
            color: "transparent"
            border.width: 2
            border.color: Theme.accent
        }
        Loader {
            id: copying
            active: false
            sourceComponent: Menu {
                parent: ground
                implicitWidth: 180
                onClosed: copying.active = false
                Component.onCompleted: popup()
                MenuItem {
                    text: words.selectedText !== "" ? qsTr("Copier la sélection") : qsTr("Copier le message")
                    symbol: "doc.on.doc"
                    onTriggered: words.selectedText !== "" ? words.copy() : root.links.copy(root.transcript.messageText(root.index))
                }
            }
        }
    }
}
