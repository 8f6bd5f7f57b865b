import QtQuick
import QtQuick.Controls
import Brevio

// A sheet over the main window: modal, centred, in the theme's colours (popups do not take the
// window's palette by themselves).
Dialog {
    id: dialog

    parent: Overlay.overlay
    anchors.centerIn: parent
    modal: true
    width: Math.min(Theme.sheetWidth, parent ? parent.width - 2 * Theme.xl : Theme.sheetWidth)
    padding: Theme.l

    palette.window: Theme.surface
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

    background: Rectangle {
        color: Theme.surface
        radius: Theme.radiusCard
        border.width: 1
        border.color: Theme.separator
    }
    header: Label {
        visible: dialog.title.length > 0
        text: dialog.title
        font.pixelSize: Theme.title
        font.weight: Font.DemiBold
        color: Theme.text
        padding: Theme.l
        bottomPadding: 0
        Accessible.role: Accessible.Heading
    }
}
