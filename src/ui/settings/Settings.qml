import QtQuick
import QtQuick.Templates as T
import Vennic

// The settings window: a row of tabs, and below it the tab that is chosen.
Rectangle {
    id: root
    required property QtObject settings
    readonly property var bodies: ({ general: general, bridge: bridge, localLlm: localLlm })

    implicitWidth: 580
    implicitHeight: 660
    color: Theme.window
    Accessible.role: Accessible.Pane
    Accessible.name: qsTr("Réglages")

    // Gives the keyboard to the first thing of the tab, in sight of whoever looks.
    function appear() {
        if (body.item.takeFocus)
            body.item.takeFocus();
        else
            body.item.nextItemInFocusChain(true).forceActiveFocus(Qt.TabFocusReason);
    }

    T.TabBar {
        id: bar
        width: parent.width
        height: 68
        padding: 8
        spacing: 4
        contentItem: ListView {
            model: bar.contentModel
            currentIndex: bar.currentIndex
            orientation: ListView.Horizontal
            spacing: bar.spacing
            leftMargin: Math.max(0, (width - contentWidth) / 2)
            interactive: false
        }
        Repeater {
            model: root.settings.tabs
            SettingsTabButton {
                required property var modelData
                required property int index
                objectName: "tab." + modelData.name
                text: modelData.title
                symbol: modelData.symbol
                onClicked: root.settings.selected = modelData.name
            }
        }
        Binding on currentIndex {
            value: root.settings.tabs.findIndex(tab => tab.name === root.settings.selected)
        }
    }
    Rectangle {
        y: bar.height
        width: parent.width
        height: 1
        color: Theme.line
    }
    Loader {
        id: body
        anchors.fill: parent
        anchors.topMargin: bar.height + 1
        sourceComponent: root.bodies[root.settings.selected]
        focus: true
    }
    Component {
        id: general
        GeneralTab { tab: root.settings.general }
    }
    Component {
        id: bridge
        BridgeTab { tab: root.settings.bridge }
    }
    Component {
        id: localLlm
        LocalLlmTab { tab: root.settings.localLlm }
    }
}
