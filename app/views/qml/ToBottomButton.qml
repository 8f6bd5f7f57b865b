import QtQuick
import QtQuick.Controls
import Brevio

// Back to the newest message, with how many came in meanwhile; fades in when the list is away
// from its end.
Button {
    id: button

    property bool shown: false

    hoverEnabled: true
    opacity: shown ? 1 : 0
    visible: opacity > 0
    leftPadding: Theme.m
    rightPadding: Theme.m
    implicitHeight: 32
    Accessible.name: text
    Behavior on opacity { NumberAnimation { duration: Theme.quick } }

    contentItem: Row {
        spacing: Theme.xs
        Icon {
            anchors.verticalCenter: parent.verticalCenter
            symbol: "chevron.down"
            color: Theme.accentText
        }
        Label {
            anchors.verticalCenter: parent.verticalCenter
            text: button.text
            color: Theme.accentText
            font.pixelSize: Theme.secondary
            font.weight: Font.DemiBold
        }
    }
    background: Rectangle {
        radius: height / 2
        color: button.down ? Theme.separator : (button.hovered ? Theme.window : Theme.surface)
        border.width: button.visualFocus ? Theme.focusRing : 1
        border.color: button.visualFocus ? Theme.accent : Theme.separator
    }
}
