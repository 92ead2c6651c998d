import QtQuick
import Vennic

// A field for a secret: it shows one dot per character, and the characters themselves never come here. It is written at
// its end. `draft` is what is written.
Item {
    id: root
    required property QtObject draft
    required property string placeholderText
    signal accepted
    signal pasteRequested

    implicitWidth: 200
    implicitHeight: 30
    activeFocusOnTab: true
    Accessible.role: Accessible.EditableText
    // A field for a password has no name for readers of the screen, whatever it is given: Qt withholds it.
    Accessible.description: root.placeholderText + ", " + (draft.length === 1 ? qsTr("un caractère") : qsTr("%1 caractères").arg(draft.length))
    Accessible.passwordEdit: true
    Accessible.editable: true
    Accessible.focusable: true

    // Its own menu finds what is selected, and leaves it.
    property bool inMenu: false
    onActiveFocusChanged: {
        if (menu.visible && !activeFocus)
            inMenu = true;
        else if (inMenu)
            inMenu = false;
        else if (activeFocus && !mouse.pressed)
            draft.selectAll();
        else
            draft.deselect();
    }
    Keys.onPressed: event => {
        event.accepted = true;
        if (event.matches(StandardKey.Paste))
            pasteRequested();
        else if (event.matches(StandardKey.SelectAll))
            draft.selectAll();
        else if (event.key === Qt.Key_Backspace || event.key === Qt.Key_Delete)
            draft.erase();
        else if (event.key === Qt.Key_Return || event.key === Qt.Key_Enter)
            accepted();
        else if (event.text >= " " && event.text !== "\x7f" && !(event.modifiers & (Qt.ControlModifier | Qt.AltModifier | Qt.MetaModifier)))
            draft.insert(event.text);
        else
            event.accepted = false;
    }

    Rectangle {
        anchors.fill: parent
        radius: Theme.radius
        color: Theme.raised
        border.width: root.activeFocus ? 2 : 1
        border.color: root.activeFocus ? Theme.accent : Theme.line
    }
    Item {
        anchors.fill: parent
        anchors.leftMargin: 10
        anchors.rightMargin: 10
        clip: true
        Text {
            anchors.fill: parent
            visible: root.draft.length === 0
            text: root.placeholderText
            textFormat: Text.PlainText
            elide: Text.ElideRight
            verticalAlignment: Text.AlignVCenter
            font.pixelSize: Theme.body
            color: Theme.secondary
            Accessible.ignored: true
        }
        Rectangle {
            anchors.fill: dots
            anchors.topMargin: 5
            anchors.bottomMargin: 5
            visible: root.draft.isSelected
            color: Theme.accentFill
        }
        Text {
            id: dots
            // The end is what is written on: it stays in sight.
            x: Math.min(0, parent.width - width - 3)
            height: parent.height
            text: "•".repeat(Math.min(root.draft.length, 400))
            textFormat: Text.PlainText
            verticalAlignment: Text.AlignVCenter
            font.pixelSize: Theme.body
            font.letterSpacing: 1
            color: root.draft.isSelected ? Theme.accentText : Theme.text
            Accessible.ignored: true
        }
        Rectangle {
            x: dots.x + dots.width + (root.draft.length > 0 ? 1 : 0)
            anchors.verticalCenter: parent.verticalCenter
            width: 1
            height: 16
            visible: root.activeFocus && !root.draft.isSelected
            color: Theme.text
        }
    }
    MouseArea {
        id: mouse
        anchors.fill: parent
        acceptedButtons: Qt.LeftButton | Qt.RightButton
        cursorShape: Qt.IBeamCursor
        onPressed: event => {
            root.forceActiveFocus(Qt.MouseFocusReason);
            if (event.button === Qt.RightButton)
                menu.popup(event.x, event.y);
            else
                root.draft.deselect();
        }
        onDoubleClicked: root.draft.selectAll()
    }
    Menu {
        id: menu
        MenuItem {
            text: qsTr("Coller")
            onTriggered: root.pasteRequested()
        }
        MenuItem {
            text: qsTr("Tout sélectionner")
            enabled: root.draft.length > 0
            onTriggered: root.draft.selectAll()
        }
    }
}
