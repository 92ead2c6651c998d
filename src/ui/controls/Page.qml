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
        const margin = 16;
        if (top - margin < contentY)
            contentY = Math.max(0, top - margin);
        else if (top + item.height + margin > contentY + height)
            contentY = Math.min(contentHeight - height, top + item.height + margin - height);
    }

    Connections {
        target: root.Window.window
        function onActiveFocusItemChanged() {
            if (root.Window.activeFocusItem)
                root.reveal(root.Window.activeFocusItem);
        }
    }

    Column {
        id: column
        x: Math.max(20, (parent.width - width) / 2)
        y: 20
        width: Math.min(620, root.width - 40)
        spacing: 20
    }
}
