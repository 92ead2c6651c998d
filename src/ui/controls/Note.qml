import QtQuick
import Vennic

// Words that explain what stands above them.
Item {
    id: root
    property string text: ""
    property alias color: words.color
    property alias maximumLineCount: words.maximumLineCount
    property alias elide: words.elide
    property bool marksCode: false // what stands between backticks is code; for words of our own alone

    function withCode(html) {
        return html.replace(/`([^`]*)`/g, "<code>$1</code>");
    }

    width: parent.width
    implicitHeight: words.implicitHeight
    Accessible.role: Accessible.StaticText
    Accessible.name: text

    Text {
        id: words
        width: parent.width
        text: root.marksCode ? root.withCode(Theme.escaped(FrenchSpacing.typeset(root.text))) : FrenchSpacing.typeset(root.text)
        textFormat: root.marksCode ? Text.RichText : Text.PlainText
        wrapMode: Text.Wrap
        font.pixelSize: Theme.small + 1
        lineHeight: 1.2
        color: Theme.secondary
        Accessible.ignored: true
    }
}
