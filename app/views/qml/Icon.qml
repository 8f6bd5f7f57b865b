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
        "bubble.left.and.bubble.right": "mail-message-new"
    })

    sourceSize.width: 16
    sourceSize.height: 16
    width: sourceSize.width
    height: sourceSize.height
    color: Theme.text
    name: themeNames[symbol] || ""
    source: "icons/" + symbol + ".svg"
    Accessible.ignored: true
}
