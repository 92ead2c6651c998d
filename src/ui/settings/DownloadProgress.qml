import QtQuick
import Vennic

// How far a download is, in the words of the tool, and as a bar where they hold a percentage.
Column {
    id: root
    required property string words
    required property int percentage // -1 while it isn't known

    spacing: 4
    Accessible.role: Accessible.ProgressBar
    Accessible.name: qsTr("Téléchargement")
    Accessible.description: words

    Rectangle {
        width: parent.width
        height: 4
        radius: 2
        color: Theme.pressed
        Rectangle {
            width: parent.width * Math.max(0, root.percentage) / 100
            height: parent.height
            radius: 2
            color: Theme.accentFill
        }
    }
    Text {
        width: parent.width
        height: 14
        text: root.words
        textFormat: Text.PlainText
        elide: Text.ElideRight
        maximumLineCount: 1
        font.pixelSize: Theme.small
        color: Theme.secondary
        Accessible.ignored: true
    }
}
