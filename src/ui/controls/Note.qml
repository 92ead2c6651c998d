import QtQuick
import Vennic

// Words that explain what stands above them.
Text {
    width: parent.width
    textFormat: Text.PlainText
    wrapMode: Text.Wrap
    font.pixelSize: Theme.small + 1
    lineHeight: 1.2
    color: Theme.secondary
    Accessible.role: Accessible.StaticText
    Accessible.name: text
}
