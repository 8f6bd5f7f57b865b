import QtQuick
import QtQuick.Controls.impl

// A symbol by the name the screens use: the desktop's icon theme when it has the matching
// freedesktop icon, otherwise our own drawing, tinted with `color`.
IconImage {
    property string symbol

    readonly property var themeNames: ({
        "clock.badge.exclamationmark": "appointment-missed",
        "arrow.down.app": "software-update-available",
        "chevron.down": "pan-down-symbolic",
        "chevron.right": "pan-end-symbolic",
        "bubble.left.and.bubble.right": "mail-message-new",
        "chevron.up": "pan-up-symbolic",
        "magnifyingglass": "edit-find-symbolic",
        "xmark.circle.fill": "window-close-symbolic",
        "pencil": "document-edit-symbolic",
        "face.smiling": "face-smile-symbolic",
        "arrowshape.turn.up.left.fill": "mail-reply-sender-symbolic",
        "arrow.up": "go-up-symbolic",
        "ellipsis": "view-more-horizontal-symbolic",
        "wifi.exclamationmark": "network-wireless-offline-symbolic"
        // The delivery ticks (clock, checkmark, checkmark.double, exclamationmark.circle.fill)
        // and "nosign" are always our own drawings: a set that must look alike.
    })

    sourceSize.width: 16
    sourceSize.height: 16
    width: sourceSize.width
    height: sourceSize.height
    color: Theme.text
    name: themeNames[symbol] || ""
    source: symbol.length > 0 ? "icons/" + symbol + ".svg" : ""
    Accessible.ignored: true
}
