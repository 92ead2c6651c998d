import QtQuick
import QtQuick.Templates as T
import Vennic

// Sections below each other. What has the keyboard stays in sight.
Flickable {
    id: root
    default property alias content: column.data

    contentWidth: width
    contentHeight: column.height + 2 * column.y
    boundsBehavior: Flickable.StopAtBounds
    clip: true
    T.ScrollBar.vertical: ScrollBar {}

    function reveal(item) {
        let above = item;
        while (above && above !== column)
            above = above.parent;
        if (!above)
            return;
        const top = item.mapToItem(column, 0, 0).y + column.y;
        const before = 16;
        const behind = 48; // so that what it brings about is seen
        if (top - before < contentY)
            contentY = Math.max(0, top - before);
        else if (top + item.height + behind > contentY + height)
            contentY = Math.max(0, Math.min(contentHeight - height, top + item.height + behind - height));
    }

    function revealFocused() {
        if (Window.activeFocusItem)
            reveal(Window.activeFocusItem);
    }
    onHeightChanged: revealFocused() // something may have come up below

    Connections {
        target: root.Window.window
        function onActiveFocusItemChanged() { root.revealFocused(); }
    }

    Column {
        id: column
        x: Math.max(20, (parent.width - width) / 2)
        y: 20
        width: Math.min(620, root.width - 40)
        spacing: 20
    }
}
