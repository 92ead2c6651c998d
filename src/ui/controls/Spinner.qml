import QtQuick
import Vennic

// Something is under way.
Symbol {
    id: root
    property bool running: false

    visible: running
    name: "arc"
    color: Theme.secondary
    RotationAnimation on rotation {
        running: root.visible && Theme.animated
        from: 0
        to: 360
        duration: 900
        loops: Animation.Infinite
    }
}
