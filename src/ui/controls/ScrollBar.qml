import QtQuick
import QtQuick.Templates as T
import Vennic

T.ScrollBar {
    id: root
    implicitWidth: 10
    padding: 2
    minimumSize: 0.08
    visible: size < 1
    Accessible.ignored: true
    contentItem: Rectangle {
        radius: 3
        color: Theme.secondary
        opacity: root.pressed ? 0.8 : root.hovered || root.active ? 0.5 : 0
        Behavior on opacity { NumberAnimation { duration: Theme.calm } }
    }
}
