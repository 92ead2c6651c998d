import QtQuick
import Vennic

// What went wrong; nothing when `text` is empty.
Note {
    visible: text !== ""
    color: Theme.red
    Accessible.role: Accessible.AlertMessage
}
