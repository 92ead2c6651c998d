import QtQuick
import Vennic

// How something stands, with a dot in its colour.
Row {
    id: root
    required property string label
    required property color dot

    spacing: 10
    Accessible.role: Accessible.Indicator
    Accessible.name: label
    Rectangle {
        y: 4 // at the middle of the first line
        width: 9
        height: 9
        radius: 4.5
        color: root.dot
    }
    Text {
        width: parent.width - 19
        text: FrenchSpacing.typeset(root.label)
        textFormat: Text.PlainText
        wrapMode: Text.Wrap
        font.pixelSize: Theme.body
        color: Theme.text
        Accessible.ignored: true
    }
}
