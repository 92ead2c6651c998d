import QtQuick
import QtQuick.Templates as T
import Vennic

// Something that is on or off, with its words on the left.
T.Switch {
    id: root
    implicitWidth: contentItem.implicitWidth + spacing + indicator.width
    implicitHeight: Math.max(28, contentItem.implicitHeight)
    spacing: 12
    hoverEnabled: true
    opacity: enabled ? 1 : 0.4
    Accessible.name: text
    Accessible.onPressAction: switchOver()
    Accessible.onToggleAction: switchOver()

    function switchOver() {
        if (!enabled)
            return;
        toggle();
        toggled();
    }

    contentItem: Text {
        rightPadding: root.indicator.width + root.spacing
        text: root.text
        textFormat: Text.PlainText
        wrapMode: Text.Wrap
        verticalAlignment: Text.AlignVCenter
        font.pixelSize: Theme.body
        color: Theme.text
    }
    indicator: Rectangle {
        x: root.width - width
        y: (root.height - height) / 2
        width: 38
        height: 22
        radius: 11
        color: root.checked ? Theme.accentFill : Theme.pressed
        Rectangle {
            x: root.checked ? parent.width - width - 2 : 2
            y: 2
            width: 18
            height: 18
            radius: 9
            color: "#ffffff"
            Behavior on x { NumberAnimation { duration: Theme.quick; easing.type: Easing.OutCubic } }
        }
        FocusRing { of: root; radius: 13 }
    }
}
