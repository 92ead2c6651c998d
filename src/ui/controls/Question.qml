import QtQuick
import QtQuick.Templates as T
import Vennic

// Asks, in the middle of its window, whether something that can't be taken back is to be done.
T.Dialog {
    id: root
    required property string message
    required property string acceptText
    property Item asker: null // gets the keyboard back, as it had it
    property int reason: Qt.OtherFocusReason

    parent: T.Overlay.overlay
    x: Math.round((parent.width - width) / 2)
    y: Math.round((parent.height - height) / 2)
    width: Math.min(400, parent.width - 40)
    height: implicitHeight
    implicitHeight: contentItem.implicitHeight + topPadding + bottomPadding
    padding: 20
    modal: true
    focus: true
    closePolicy: T.Popup.CloseOnEscape
    onAboutToShow: {
        asker = parent.Window.activeFocusItem;
        reason = asker?.focusReason ?? Qt.OtherFocusReason;
    }
    onClosed: asker?.forceActiveFocus(reason)
    onOpened: refuse.forceActiveFocus(Qt.TabFocusReason)
    T.Overlay.modal: Rectangle { color: "#80000000" }

    contentItem: Column {
        spacing: 10
        Accessible.role: Accessible.Dialog
        Accessible.name: root.title
        Accessible.description: root.message
        Text {
            width: parent.width
            text: root.title
            textFormat: Text.PlainText
            wrapMode: Text.Wrap
            maximumLineCount: 3
            elide: Text.ElideRight
            font.pixelSize: Theme.title
            font.weight: Font.DemiBold
            color: Theme.text
            Accessible.role: Accessible.Heading
            Accessible.name: text
        }
        Note { text: root.message }
        Item {
            width: parent.width
            height: 36
            Row {
                anchors.right: parent.right
                anchors.bottom: parent.bottom
                spacing: Theme.gap
                Button {
                    id: refuse
                    objectName: "refuse"
                    text: qsTr("Annuler")
                    onClicked: root.reject()
                }
                Button {
                    objectName: "accept"
                    text: root.acceptText
                    destructive: true
                    onClicked: root.accept()
                }
            }
        }
    }
    background: Rectangle {
        radius: Theme.radius + 4
        color: Theme.raised
        border.width: 1
        border.color: Theme.line
    }
}
