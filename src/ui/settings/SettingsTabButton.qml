import QtQuick
import QtQuick.Templates as T
import Vennic

T.TabButton {
    id: root
    required property string symbol

    width: Math.ceil(Math.max(92, words.implicitWidth + 24))
    implicitHeight: 52
    hoverEnabled: true
    activeFocusOnTab: checked
    Accessible.name: text
    Accessible.onPressAction: if (enabled) clicked()
    Keys.onLeftPressed: step(-1)
    Keys.onRightPressed: step(1)

    function step(by) {
        const bar = T.TabBar.tabBar;
        const to = bar.itemAt(bar.currentIndex + by);
        if (!to)
            return;
        to.clicked();
        to.forceActiveFocus(Qt.TabFocusReason);
    }

    contentItem: Item {
        Symbol {
            anchors.horizontalCenter: parent.horizontalCenter
            y: 7
            name: root.symbol
            size: 20
            color: words.color
        }
        Text {
            id: words
            anchors.horizontalCenter: parent.horizontalCenter
            y: 30
            text: root.text
            textFormat: Text.PlainText
            font.pixelSize: Theme.small + 1
            font.weight: root.checked ? Font.Medium : Font.Normal
            color: root.checked ? Theme.accent : Theme.secondary
            Accessible.ignored: true
        }
    }
    background: Rectangle {
        radius: Theme.radius
        color: root.checked ? Theme.surface : root.hovered ? Theme.hovered : "transparent"
    }
    FocusRing { of: root; inset: 0 }
}
