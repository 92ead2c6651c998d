import QtQuick
import Vennic

// The conversation and its input.
FocusScope {
    id: root
    required property QtObject chat
    required property QtObject transcript
    required property QtObject picker
    required property QtObject links

    focus: true
    function appear() {
        root.chat.inputFocused = true
        composer.takeFocus()
        list.toEnd()
    }

    EmptyConversation {
        objectName: "empty"
        visible: root.transcript.messageCount === 0
        width: parent.width
        y: 60
    }
    Transcript {
        id: list
        objectName: "transcript"
        visible: root.transcript.messageCount > 0 || root.links.isStreaming
        anchors.top: parent.top
        anchors.bottom: composer.top
        width: parent.width
        transcript: root.transcript
        links: root.links
        waiting: root.links.isStreaming
    }
    Composer {
        id: composer
        anchors.bottom: parent.bottom
        width: parent.width
        chat: root.chat
        picker: root.picker
    }
}
