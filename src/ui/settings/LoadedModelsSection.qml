import QtQuick
import Vennic

// What the server lists; nothing while it lists nothing.
Section {
    id: root
    required property QtObject tab

    title: qsTr("Modèles chargés")
    visible: tab.shownModels.length > 0

    Column {
        width: parent.width
        spacing: 6
        Accessible.role: Accessible.List
        Accessible.name: root.title
        Repeater {
            model: root.tab.shownModels
            Text {
                required property string modelData
                width: parent.width
                text: modelData
                textFormat: Text.PlainText
                elide: Text.ElideMiddle
                maximumLineCount: 1
                font.pixelSize: Theme.body
                color: Theme.text
                Accessible.role: Accessible.ListItem
                Accessible.name: text
            }
        }
    }
}
