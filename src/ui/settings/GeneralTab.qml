import QtQuick
import Vennic

Page {
    id: root
    required property QtObject tab

    function takeFocus() {
        pairing.takeFocus();
    }

    PairingSection { id: pairing; width: parent.width; tab: root.tab }
    TokenSection { width: parent.width; tab: root.tab }
    SecuritySection { width: parent.width; tab: root.tab }
}
