import QtQuick
import QtQuick.Templates as T
import Vennic

// The messages, the newest at the bottom, which stays in sight as long as nobody has scrolled away from it.
ListView {
    id: root
    required property QtObject transcript
    required property QtObject links
    property bool waiting: false
    property bool atEndKept: true
    readonly property real end: originY + contentHeight - height

    model: transcript
    clip: true
    reuseItems: true
    cacheBuffer: 200
    boundsBehavior: Flickable.StopAtBounds
    topMargin: Theme.padding
    bottomMargin: Theme.padding
    activeFocusOnTab: count > 0
    keyNavigationEnabled: true
    highlightFollowsCurrentItem: false
    currentIndex: -1
    Accessible.role: Accessible.List
    Accessible.name: qsTr("Conversation")

    T.ScrollBar.vertical: ScrollBar {}

    function toEnd() {
        slide.stop()
        atEndKept = true
        positionViewAtEnd()
        contentY = Math.max(originY - topMargin, end + bottomMargin)
    }
    function keepEnd() {
        if (atEndKept && !slide.running)
            toEnd()
    }
    // To the last message with an ease-out of 0.2 s; from far away, the last page of the road is enough to see.
    function slideToEnd() {
        if (!Theme.animated || !visible || height <= 0)
            return toEnd()
        const before = contentY
        toEnd()
        const target = contentY
        const from = Math.max(before, target - height)
        if (from >= target)
            return
        contentY = from
        slide.from = from
        slide.to = target
        slide.restart()
    }
    NumberAnimation {
        id: slide
        objectName: "slide"
        target: root
        property: "contentY"
        duration: 200
        easing.type: Easing.OutCubic
        onFinished: root.toEnd()
    }

    onMovementStarted: slide.stop()
    onMovementEnded: atEndKept = atYEnd
    onContentYChanged: if (!slide.running && (moving || scrolling)) atEndKept = contentY >= end + bottomMargin - 8
    readonly property bool scrolling: T.ScrollBar.vertical ? T.ScrollBar.vertical.pressed : false
    onContentHeightChanged: Qt.callLater(keepEnd)
    onHeightChanged: keepEnd()
    onWaitingChanged: Qt.callLater(slideToEnd)
    Connections {
        target: root.transcript
        function onMessageCountChanged() {
            if (root.transcript.messageCount > 0)
                Qt.callLater(root.slideToEnd)
        }
    }

    // Whoever comes by the keyboard begins at the newest message. Never while somebody is there: the current row takes
    // the focus, from a text that is being selected too.
    onCountChanged: if (!activeFocus || currentIndex >= count) currentIndex = count - 1
    onCurrentIndexChanged: if (activeFocus && currentIndex >= 0) { atEndKept = currentIndex === count - 1; positionViewAtIndex(currentIndex, ListView.Contain) }
    Keys.onPressed: event => {
        const page = Math.max(40, height - 40)
        if (event.key === Qt.Key_PageUp)
            contentY = Math.max(originY - topMargin, contentY - page)
        else if (event.key === Qt.Key_PageDown)
            contentY = Math.min(end + bottomMargin, contentY + page)
        else if (event.key === Qt.Key_Home)
            currentIndex = 0
        else if (event.key === Qt.Key_End)
            currentIndex = count - 1
        else if (event.matches(StandardKey.Copy) && currentIndex >= 0)
            links.copy(transcript.messageText(currentIndex))
        else
            return
        atEndKept = contentY >= end + bottomMargin - 8
        event.accepted = true
    }

    delegate: Bubble {
        links: root.links
        transcript: root.transcript
    }
    footer: Item {
        width: root.width
        height: root.waiting ? 44 : 0
        TypingIndicator {
            objectName: "typing"
            x: Theme.padding
            y: 8
            visible: root.waiting
            running: root.waiting
        }
    }
}
