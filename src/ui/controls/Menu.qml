import QtQuick
import QtQuick.Templates as T
import Vennic

// A menu inside its window; longer than the window it scrolls.
T.Menu {
    id: root
    margins: 8
    padding: 5
    overlap: 1
    implicitWidth: 248
    implicitHeight: Math.min(contentItem.contentHeight + topPadding + bottomPadding, (T.Overlay.overlay?.height ?? 520) - 16)
    modal: false
    delegate: MenuItem {}

    // The description of what opens it: this toolkit tells readers of the screen of every such control that it is a
    // button, whatever its role, and has no word for one with a menu.
    readonly property string hint: qsTr("Ouvre un menu")
    property Item asker: null // gets the keyboard back, as it had it
    property int reason: Qt.OtherFocusReason
    onAboutToShow: {
        asker = parent.Window.activeFocusItem;
        reason = asker?.focusReason ?? Qt.OtherFocusReason;
    }
    onClosed: asker?.forceActiveFocus(reason)

    contentItem: ListView {
        model: root.contentModel
        clip: contentHeight > height
        currentIndex: root.currentIndex
        interactive: contentHeight > height
        boundsBehavior: Flickable.StopAtBounds
        keyNavigationEnabled: false
        T.ScrollBar.vertical: ScrollBar {}
    }
    background: Rectangle {
        radius: Theme.radius + 2
        color: Theme.raised
        border.width: 1
        border.color: Theme.line
    }
}
