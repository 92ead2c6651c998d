import QtQuick
import QtQuick.Templates as T
import Vennic

// The help text of a control, after a moment of rest on it; who has pressed it needs no help.
Loader {
    id: root
    required property string help
    property bool wanted: false
    property bool pressed: false
    property bool done: false
    onPressedChanged: if (pressed) done = true
    onWantedChanged: if (!wanted) done = false

    active: wanted && !done && help !== ""
    sourceComponent: T.ToolTip {
        id: tip
        objectName: "helpTip"
        parent: root.parent
        visible: true
        delay: 500
        text: root.help
        y: parent.height + 6
        x: Math.round((parent.width - implicitWidth) / 2)
        margins: 6
        padding: 6
        leftPadding: 9
        rightPadding: 9
        implicitWidth: Math.min(300, label.implicitWidth + leftPadding + rightPadding)
        implicitHeight: label.implicitHeight + topPadding + bottomPadding
        closePolicy: T.Popup.NoAutoClose
        contentItem: Text {
            id: label
            text: tip.text
            textFormat: Text.PlainText
            wrapMode: Text.Wrap
            maximumLineCount: 6
            elide: Text.ElideRight
            font.pixelSize: Theme.small
            color: Theme.dark ? Theme.text : "#ffffff"
        }
        background: Rectangle {
            radius: 6
            color: Theme.dark ? "#3d4049" : "#2b2d34"
        }
    }
}
