import QtQuick
import QtQml.Models
import Vennic

// The latest discussions, which open on the web.
IconButton {
    id: root
    required property QtObject recents

    symbol: "clock.arrow.circlepath"
    help: qsTr("Discussions récentes")
    down: pressed || menu.visible
    Accessible.description: menu.hint
    onClicked: menu.visible ? menu.close() : menu.open()

    Menu {
        id: menu
        y: root.height + 4
        x: root.width - width
        Instantiator {
            model: root.recents.entries
            MenuItem {
                required property int index
                required property string modelData
                text: modelData
                symbol: "text.bubble"
                onTriggered: root.recents.open(index)
            }
            onObjectAdded: (index, object) => menu.insertItem(index, object)
            onObjectRemoved: (index, object) => menu.removeItem(object)
        }
        MenuItem {
            visible: root.recents.placeholder !== ""
            height: visible ? implicitHeight : 0
            enabled: false
            text: root.recents.placeholder
        }
        MenuSeparator {}
        MenuItem {
            text: qsTr("Ouvrir toutes les discussions…")
            onTriggered: root.recents.openAll()
        }
    }
}
