import QtQuick
import QtQuick.Controls
import Brevio

// A quiet button: its text in the accent (or destructive) colour, a tint on hover, a ring when
// focused from the keyboard.
Button {
    id: button

    property bool destructive: false
    property color textColor: destructive ? Theme.destructive : Theme.accentText

    flat: true
    hoverEnabled: true
    implicitHeight: 28
    leftPadding: Theme.s
    rightPadding: Theme.s
    topPadding: 0
    bottomPadding: 0
    font.pixelSize: Theme.secondary
    // Enter presses a focused button, as Space does.
    Keys.onReturnPressed: if (enabled) button.clicked()
    Keys.onEnterPressed: if (enabled) button.clicked()
    Accessible.name: text

    contentItem: Label {
        text: button.text
        font: button.font
        color: button.textColor
        opacity: button.enabled ? 1 : 0.5
        horizontalAlignment: Text.AlignHCenter
        verticalAlignment: Text.AlignVCenter
        elide: Text.ElideRight
    }
    background: Rectangle {
        radius: Theme.radiusControl
        color: button.down ? Theme.separator : (button.hovered ? Theme.hover : "transparent")
        border.width: button.visualFocus ? Theme.focusRing : 0
        border.color: Theme.accent
        Behavior on color { ColorAnimation { duration: Theme.quick } }
    }
}
