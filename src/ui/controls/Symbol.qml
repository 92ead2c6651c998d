import QtQuick
import Vennic

// One of the named symbols, in one colour.
Image {
    id: root
    required property string name
    property color color: Theme.text
    property int size: 18

    width: size
    height: size
    sourceSize: Qt.size(size, size)
    source: name === "" ? "" : "image://symbols/" + name + "/" + String(color).slice(1)
    Accessible.ignored: true
}
