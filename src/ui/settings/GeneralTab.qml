import QtQuick
import Vennic

Page {
    id: root
    required property QtObject tab

    PairingSection { width: parent.width; tab: root.tab }
    TokenSection { width: parent.width; tab: root.tab }
    SecuritySection { width: parent.width; tab: root.tab }
}
