import QtQuick
import QtQuick.Templates as T
import Vennic

// The model that is chosen, and the menu to choose another.
T.AbstractButton {
    id: root
    required property QtObject picker
    property int reason: Qt.OtherFocusReason // for which it had the keyboard
    signal customChosen

    implicitHeight: 32
    hoverEnabled: true
    text: picker.label
    Accessible.name: qsTr("Modèle par défaut : %1").arg(text)
    onClicked: menu.visible ? menu.close() : open()
    Keys.onDownPressed: open()

    function open() {
        reason = focusReason;
        while (menu.count > 0)
            menu.takeItem(0).destroy();
        for (const model of picker.rows)
            menu.addItem(row.createObject(null, { model: model }));
        menu.addItem(separator.createObject(null));
        menu.addItem(custom.createObject(null));
        menu.currentIndex = picker.isWritingCustom ? menu.count - 1 : picker.rows.findIndex(model => model.id === picker.chosen);
        menu.open();
    }

    contentItem: Item {
        Text {
            anchors.left: parent.left
            anchors.leftMargin: 10
            anchors.right: arrows.left
            anchors.rightMargin: Theme.gap
            anchors.verticalCenter: parent.verticalCenter
            text: root.text
            textFormat: Text.PlainText
            elide: Text.ElideRight
            font.pixelSize: Theme.body
            color: Theme.text
        }
        Symbol {
            id: arrows
            anchors.right: parent.right
            anchors.rightMargin: 8
            anchors.verticalCenter: parent.verticalCenter
            name: "chevron.up.chevron.down"
            size: 14
            color: Theme.secondary
        }
    }
    background: Rectangle {
        radius: Theme.radius
        color: root.down || menu.visible ? Theme.pressed : root.hovered ? Theme.hovered : Theme.surface
        border.width: 1
        border.color: Theme.line
    }
    FocusRing { of: root }

    Component {
        id: row
        MenuItem {
            required property var model
            text: model.title
            subtitle: root.picker.revision >= 0 ? root.picker.detailOf(model.id) : "" // anew with each revision
            marked: !root.picker.isWritingCustom && root.picker.chosen === model.id
            markable: true
            onTriggered: root.picker.choose(model.id)
        }
    }
    Component {
        id: separator
        MenuSeparator {}
    }
    Component {
        id: custom
        MenuItem {
            objectName: "custom"
            text: root.picker.customLabel
            marked: root.picker.isWritingCustom
            markable: true
            onTriggered: {
                root.picker.chooseCustom();
                root.customChosen();
            }
        }
    }
    Menu {
        id: menu
        objectName: "models"
        y: root.height + 4
        implicitWidth: root.width
        onClosed: root.forceActiveFocus(root.reason)
    }
}
