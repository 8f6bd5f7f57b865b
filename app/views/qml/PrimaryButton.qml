import QtQuick
import QtQuick.Controls

// The one main action of a screen: filled with the accent colour.
Button {
    id: button
    implicitHeight: 34
    // Enter presses a focused button, as Space does.
    Keys.onReturnPressed: if (enabled) button.clicked()
    Keys.onEnterPressed: if (enabled) button.clicked()
    Accessible.name: text
    contentItem: Label {
        text: button.text
        color: "#FFFFFF"
        font.weight: Font.DemiBold
        horizontalAlignment: Text.AlignHCenter
        verticalAlignment: Text.AlignVCenter
        elide: Text.ElideRight
    }
    background: Rectangle {
        radius: Theme.radiusControl
        color: Theme.badge // white text on it stays above 4.5:1 in both themes
        opacity: button.enabled ? (button.down ? 0.85 : 1) : 0.5
        border.width: button.visualFocus ? 2 : 0
        border.color: Theme.text
        Behavior on opacity { NumberAnimation { duration: Theme.quick } }
    }
}
