import QtQuick
import Vennic

// Everything that hangs from the status item.
Rectangle {
    id: root
    required property QtObject menuBar
    required property QtObject chat
    required property QtObject transcript
    required property QtObject picker
    required property QtObject links

    width: 380
    height: 520
    color: Theme.window
    radius: Theme.windowRadius
    border.width: 1
    border.color: Theme.line
    Accessible.role: Accessible.Pane
    Accessible.name: "Vennic"

    // Each time that the window comes up.
    function appear() {
        root.menuBar.recents.appear()
        root.picker.appear()
        body.appear()
    }

    // What a screen reader says when an answer has come.
    Item {
        objectName: "announcer"
        property string words: ""
        width: 1
        height: 1
        Accessible.role: Accessible.Notification
        Accessible.name: words
    }

    Shortcut {
        sequences: ["Ctrl+N", "Meta+N"]
        enabled: root.menuBar.canStartDiscussion
        onActivated: root.chat.newConversation()
    }
    Shortcut {
        sequences: ["Ctrl+,", "Meta+,"]
        enabled: root.menuBar.canOpenSettings
        onActivated: root.menuBar.openSettings()
    }
    Shortcut {
        sequences: ["Ctrl+Return", "Ctrl+Enter", "Meta+Return", "Meta+Enter"]
        enabled: root.menuBar.canStartDiscussion && root.chat.canSend
        onActivated: root.chat.send()
    }
    Shortcut {
        sequences: ["Ctrl+Q", "Meta+Q"]
        onActivated: root.menuBar.quit()
    }

    Header {
        id: header
        objectName: "header"
        x: 1
        y: 1
        width: parent.width - 2
        menuBar: root.menuBar
    }
    ErrorLine {
        id: error
        anchors.top: header.bottom
        x: 1
        width: parent.width - 2
        menuBar: root.menuBar
    }
    ChatBody {
        id: body
        anchors.top: error.bottom
        anchors.bottom: parent.bottom
        anchors.bottomMargin: 1
        x: 1
        width: parent.width - 2
        chat: root.chat
        transcript: root.transcript
        picker: root.picker
        links: root.links
    }
}
