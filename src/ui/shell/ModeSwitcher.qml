import QtQuick
import QtQuick.Templates as T
import Vennic

// One button per mode; the pill slides to the one that is chosen.
Rectangle {
    id: root
    required property QtObject modes

    visible: modes.isChoice
    implicitWidth: visible ? row.width + 4 : 0
    implicitHeight: 30
    radius: Theme.radius
    color: Theme.surface
    Accessible.role: Accessible.PageTabList

    Rectangle {
        id: pill
        objectName: "pill"
        // Response 0.35 s, damping fraction 0.8. The toolkit goes in steps of 16 ms, v += spring · e - damping · v and
        // x += 0.016 · v, whose poles are those of that spring with these numbers.
        readonly property real spring: 4.1
        readonly property real damping: 0.3685
        readonly property Item chosen: buttons.count > 0 ? buttons.itemAt(Math.max(0, root.modes.selected)) : null
        visible: root.modes.selected >= 0
        x: chosen ? chosen.x + 2 : 2
        y: 2
        width: chosen?.width ?? 0
        height: parent.height - 4
        radius: Theme.radius - 2
        color: Theme.raised
        border.width: 1
        border.color: Theme.line
        Behavior on x {
            enabled: Theme.animated
            SpringAnimation { spring: pill.spring; damping: pill.damping; epsilon: 0.25 }
        }
    }
    Row {
        id: row
        x: 2
        height: parent.height
        Repeater {
            id: buttons
            model: root.modes.buttons
            T.AbstractButton {
                id: button
                required property int index
                required property var modelData
                text: modelData.label
                checkable: false
                focusPolicy: Qt.TabFocus
                checked: root.modes.selected === index
                implicitWidth: content.implicitWidth + 18
                height: row.height
                Accessible.role: Accessible.PageTab
                Accessible.name: text
                Accessible.selected: checked
                Accessible.onPressAction: clicked()
                onClicked: root.modes.select(index)
                contentItem: Item {
                    Row {
                        id: content
                        anchors.centerIn: parent
                        spacing: 5
                        Symbol {
                            anchors.verticalCenter: parent.verticalCenter
                            name: button.modelData.symbol
                            size: 14
                            color: button.checked ? Theme.accent : Theme.secondary
                        }
                        Text {
                            text: button.text
                            textFormat: Text.PlainText
                            font.pixelSize: Theme.small + 1
                            font.weight: Font.Medium
                            color: button.checked ? Theme.text : Theme.secondary
                        }
                    }
                }
                FocusRing { of: button; inset: 0 }
            }
        }
    }
}
