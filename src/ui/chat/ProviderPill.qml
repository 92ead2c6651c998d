import QtQuick
import QtQuick.Templates as T
import Vennic

// Who answers, and the menu to choose another.
T.AbstractButton {
    id: root
    required property QtObject picker

    implicitWidth: row.implicitWidth + 18
    implicitHeight: 28
    hoverEnabled: true
    focusPolicy: Qt.TabFocus // a click leaves the keyboard where somebody writes
    text: picker.pillLabel
    Accessible.name: text
    Accessible.description: menu.hint
    Accessible.onPressAction: if (enabled) clicked()
    onClicked: menu.visible ? menu.close() : open()

    function fill() {
        while (menu.count > 0)
            menu.takeItem(0).destroy()
        for (const entry of picker.entries())
            menu.addItem(entry.heading ? heading.createObject(null, { text: entry.title })
                                       : item.createObject(null, { entry: entry }))
    }
    function open() {
        fill()
        menu.open()
    }
    // What came while the menu was open; whoever had gone to an item stays there.
    function refill() {
        if (!menu.visible)
            return
        const held = menu.itemAt(menu.currentIndex)?.text ?? ""
        fill()
        for (let i = 0; held !== "" && i < menu.count; ++i)
            if (menu.itemAt(i).entry && menu.itemAt(i).text === held)
                menu.currentIndex = i
    }
    Connections {
        target: root.picker
        function onEntriesChanged() { Qt.callLater(root.refill) }
    }

    contentItem: Item {
        Row {
            id: row
            x: 9
            anchors.verticalCenter: parent.verticalCenter
            spacing: 6
            Symbol {
                anchors.verticalCenter: parent.verticalCenter
                name: root.picker.pillIcon
                size: 15
                color: Theme.accent
            }
            Text {
                anchors.verticalCenter: parent.verticalCenter
                width: Math.min(implicitWidth, 190)
                text: root.text
                textFormat: Text.PlainText
                elide: Text.ElideMiddle
                font.pixelSize: Theme.small + 1
                font.weight: Font.Medium
                color: Theme.text
            }
            Symbol {
                anchors.verticalCenter: parent.verticalCenter
                name: "chevron.up.chevron.down"
                size: 12
                color: Theme.secondary
            }
        }
    }
    background: Rectangle {
        radius: 14
        color: root.down || menu.visible ? Theme.pressed : root.hovered ? Theme.hovered : Theme.surface
    }
    FocusRing { of: root; radius: 16 }

    Component {
        id: heading
        MenuHeading {}
    }
    Component {
        id: item
        MenuItem {
            required property var entry
            text: entry.title
            subtitle: entry.subtitle
            symbol: entry.symbol
            marked: entry.current
            markable: true
            onTriggered: root.picker.choose(entry.place)
        }
    }
    Menu {
        id: menu
        y: -height - 4
        implicitWidth: 280
    }
}
