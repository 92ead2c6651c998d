import QtQuick
import Vennic

// Words that explain, with one address among them which can be followed.
Item {
    id: root
    required property string before
    required property string address
    required property string after
    signal followed

    width: parent.width
    implicitHeight: words.implicitHeight
    activeFocusOnTab: true
    Accessible.role: Accessible.Link
    Accessible.name: before + address + after
    Accessible.focusable: true
    Accessible.onPressAction: followed()
    Keys.onReturnPressed: followed()
    Keys.onEnterPressed: followed()
    Keys.onSpacePressed: followed()

    Text {
        id: words
        width: parent.width
        text: Theme.escaped(FrenchSpacing.typeset(root.before)) + "<a href=\"page\">" + Theme.escaped(root.address.replace(/^https:\/\//, "")) + "</a>"
              + Theme.escaped(FrenchSpacing.typeset(root.after))
        textFormat: Text.StyledText
        linkColor: Theme.accent
        wrapMode: Text.Wrap
        font.pixelSize: Theme.small + 1
        lineHeight: 1.2
        color: Theme.secondary
        Accessible.ignored: true
        onLinkActivated: root.followed()
        HoverHandler { cursorShape: words.hoveredLink === "" ? Qt.ArrowCursor : Qt.PointingHandCursor }
    }
    FocusRing { of: root; inset: -4 }
}
