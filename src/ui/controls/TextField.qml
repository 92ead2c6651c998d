import QtQuick
import QtQuick.Templates as T
import Vennic

// One line of text.
T.TextField {
    id: root
    implicitWidth: 200
    implicitHeight: 30
    leftPadding: 10
    rightPadding: 10
    verticalAlignment: TextInput.AlignVCenter
    font.family: Qt.application.font.family
    font.pixelSize: Theme.body
    color: Theme.text
    selectionColor: Theme.accentFill
    selectedTextColor: Theme.accentText
    selectByMouse: true
    opacity: enabled ? 1 : 0.4
    Accessible.name: placeholderText

    Text {
        anchors.fill: parent
        anchors.leftMargin: root.leftPadding
        anchors.rightMargin: root.rightPadding
        verticalAlignment: Text.AlignVCenter
        visible: root.length === 0 && root.preeditText === ""
        text: root.placeholderText
        textFormat: Text.PlainText
        elide: Text.ElideRight
        font: root.font
        color: Theme.secondary
        Accessible.ignored: true
    }
    background: Rectangle {
        radius: Theme.radius
        color: Theme.raised
        border.width: root.activeFocus ? 2 : 1
        border.color: root.activeFocus ? Theme.accent : Theme.line
    }
}
