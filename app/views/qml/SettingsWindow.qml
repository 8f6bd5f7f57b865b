import QtQuick
import QtQuick.Controls
import QtQuick.Layouts
import Brevio

// The settings, a window of their own beside the main one: account, notifications, general.
ApplicationWindow {
    id: window

    property AppModel app
    readonly property SettingsModel settings: settings
    property alias currentTab: tabs.currentIndex

    title: "Impostazioni"
    width: Theme.settingsWidth
    height: Theme.settingsHeight
    minimumWidth: Theme.settingsWidth
    minimumHeight: Theme.settingsMinimumHeight
    visible: false
    color: Theme.window

    palette.window: Theme.window
    palette.windowText: Theme.text
    palette.base: Theme.surface
    palette.alternateBase: Theme.window
    palette.text: Theme.text
    palette.button: Theme.surface
    palette.buttonText: Theme.text
    palette.highlight: Theme.accent
    palette.highlightedText: "#FFFFFF"
    palette.placeholderText: Theme.secondaryText
    palette.mid: Theme.separator
    palette.light: Theme.surface
    palette.dark: Theme.separator
    palette.link: Theme.accent

    Binding {
        target: Theme
        property: "dark"
        value: window.app ? window.app.darkTheme : false
    }

    SettingsModel {
        id: settings
        app: window.app
    }

    // What may have changed elsewhere is read again whenever a tab appears.
    onVisibleChanged: if (visible) settings.refresh()

    header: TabBar {
        id: tabs
        objectName: "settingsTabs"
        onCurrentIndexChanged: settings.refresh()
        background: Rectangle {
            color: Theme.window
            Rectangle {
                anchors.bottom: parent.bottom
                width: parent.width
                height: 1
                color: Theme.separator
            }
        }

        Repeater {
            model: [
                { label: "Account", symbol: "person.crop.circle" },
                { label: "Notifiche", symbol: "bell.badge" },
                { label: "Generali", symbol: "gearshape" }
            ]
            delegate: TabButton {
                id: tabButton
                required property var modelData
                objectName: "tab" + modelData.label
                text: modelData.label
                icon.source: "icons/" + modelData.symbol + ".svg"
                icon.color: Theme.text
                icon.width: Theme.settingsTabIcon
                icon.height: Theme.settingsTabIcon
                Accessible.name: text
                font.weight: checked ? Font.DemiBold : Font.Normal
                background: Rectangle {
                    color: tabButton.checked ? Theme.surface
                                             : (tabButton.hovered ? Theme.hover : Theme.window)
                    Rectangle {
                        anchors.bottom: parent.bottom
                        width: parent.width
                        height: Theme.focusRing
                        visible: tabButton.checked || tabButton.visualFocus
                        color: Theme.accent
                    }
                }
            }
        }
    }

    StackLayout {
        anchors.fill: parent
        anchors.margins: Theme.margin
        currentIndex: tabs.currentIndex

        AccountSettings {
            objectName: "accountSettings"
            app: window.app
            settings: settings
        }
        NotificationSettings {
            objectName: "notificationSettings"
            settings: settings
        }
        GeneralSettings {
            objectName: "generalSettings"
            settings: settings
        }
    }

    Shortcut {
        sequences: [StandardKey.Close, "Escape"]
        onActivated: window.close()
    }
}
