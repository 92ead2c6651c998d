import QtQuick
import QtQuick.Templates as T
import Vennic

// The settings window: a row of tabs, and below it the tab that is chosen. `tabs` is a list of { title, symbol, source }.
Rectangle {
    id: root
    required property var tabs
    property int currentTab: 0

    width: 620
    height: 560
    color: Theme.window
    Accessible.role: Accessible.Pane
    Accessible.name: qsTr("Réglages")

    T.TabBar {
        id: bar
        width: parent.width
        height: 64
        padding: 8
        spacing: 4
        currentIndex: root.currentTab
        onCurrentIndexChanged: root.currentTab = currentIndex
        contentItem: ListView {
            model: bar.contentModel
            currentIndex: bar.currentIndex
            orientation: ListView.Horizontal
            spacing: bar.spacing
        }
        Repeater {
            model: root.tabs
            T.TabButton {
                id: tab
                required property var modelData
                text: modelData.title
                width: 96
                height: 48
                hoverEnabled: true
                contentItem: Column {
                    spacing: 2
                    Symbol {
                        anchors.horizontalCenter: parent.horizontalCenter
                        name: tab.modelData.symbol
                        size: 20
                        color: tab.checked ? Theme.accent : Theme.secondary
                    }
                    Text {
                        anchors.horizontalCenter: parent.horizontalCenter
                        text: tab.text
                        textFormat: Text.PlainText
                        font.pixelSize: Theme.small + 1
                        color: tab.checked ? Theme.accent : Theme.secondary
                    }
                }
                background: Rectangle {
                    radius: Theme.radius
                    color: tab.checked ? Theme.surface : tab.hovered ? Theme.hovered : "transparent"
                }
                FocusRing { of: tab; inset: 0 }
            }
        }
    }
    Rectangle {
        y: bar.height
        width: parent.width
        height: 1
        color: Theme.line
    }
    Loader {
        anchors.fill: parent
        anchors.topMargin: bar.height + 1
        source: root.tabs.length > 0 ? root.tabs[Math.max(0, Math.min(root.currentTab, root.tabs.length - 1))].source : ""
        focus: true
    }
}
