import QtQuick
import Vennic

// The models of the catalogue and their weights on disk.
Section {
    id: root
    required property QtObject tab

    title: qsTr("Catalogue de modèles")

    Column {
        width: parent.width
        spacing: 8
        Accessible.role: Accessible.List
        Accessible.name: root.title
        Repeater {
            model: root.tab.picker.rows
            CatalogRow {
                required property var modelData
                width: parent.width
                model: modelData
                tab: root.tab
            }
        }
    }
    Note {
        text: qsTr("Les modèles sont stockés dans ~/.cache/huggingface/hub. Le serveur charge à la volée le modèle que l'app demande — aucun redémarrage à faire en changeant.")
    }
}
