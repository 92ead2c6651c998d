import QtQuick
import Vennic

// A titled group of lines of settings.
Column {
    id: root
    property string title: ""
    default property alias content: body.data

    spacing: 6
    Text {
        visible: root.title !== ""
        text: root.title
        textFormat: Text.PlainText
        font.pixelSize: Theme.small + 1
        font.weight: Font.DemiBold
        color: Theme.secondary
        leftPadding: 4
        Accessible.role: Accessible.Heading
        Accessible.name: text
    }
    Rectangle {
        width: root.width
        height: body.height + 24
        radius: Theme.radius + 2
        color: Theme.raised
        border.width: 1
        border.color: Theme.line
        Column {
            id: body
            x: 14
            y: 12
            width: parent.width - 28
            spacing: 10
        }
    }
}
