import QtQuick
import Vennic

// What went wrong; nothing when `text` is empty.
Note {
    visible: text !== ""
    maximumLineCount: 8
    elide: Text.ElideRight
    color: Theme.red
    maximumLineCount: 6
    elide: Text.ElideRight
    Accessible.role: Accessible.AlertMessage
}
