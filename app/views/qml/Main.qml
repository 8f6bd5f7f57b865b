import QtQuick
import Brevio
import QtQuick.Controls

// The main window: the root flow fills it; the window's palette follows the theme.
ApplicationWindow {
    id: window

    property AppModel app

    title: "Brevio"
    width: 1100
    height: 720
    minimumWidth: 640
    minimumHeight: 480
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

    // Restyles live when the desktop's scheme or the stored choice changes.
    Binding {
        target: Theme
        property: "dark"
        value: window.app ? window.app.darkTheme : false
    }

    RootView {
        objectName: "rootView"
        anchors.fill: parent
        app: window.app
    }

    Sheets {
        objectName: "sheets"
        app: window.app
    }

    Shortcut {
        sequences: [StandardKey.Quit, "Ctrl+Q"]
        context: Qt.ApplicationShortcut
        onActivated: Qt.quit()
    }
}
