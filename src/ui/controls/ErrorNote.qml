import QtQuick
import Vennic

// What went wrong; nothing when `text` is empty.
Note {
    visible: text !== ""
    color: Theme.red
    maximumLineCount: 6
    elide: Text.ElideRight
    Accessible.role: Accessible.AlertMessage
}
