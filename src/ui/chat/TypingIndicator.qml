import QtQuick
import Vennic

// Three dots that breathe while an answer is on its way.
Rectangle {
    id: root
    property bool running: false

    implicitWidth: 56
    implicitHeight: 34
    radius: 16
    color: Theme.surface
    Accessible.role: Accessible.Animation
    Accessible.name: qsTr("Réponse en cours")

    // A clock of its own, four times a second: nothing is painted in between.
    property int beat: 0
    Timer {
        interval: 250
        repeat: true
        running: root.running && root.visible && Theme.animated
        onTriggered: root.beat = (root.beat + 1) % 4
    }
    Row {
        anchors.centerIn: parent
        spacing: 5
        Repeater {
            model: 3
            Rectangle {
                required property int index
                width: 7
                height: 7
                radius: 3.5
                color: Theme.secondary
                opacity: root.beat === index ? 1 : 0.35
                Behavior on opacity { NumberAnimation { duration: Theme.calm } }
            }
        }
    }
}
