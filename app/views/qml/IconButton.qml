import QtQuick
import QtQuick.Controls
import Brevio

// A flat button showing one symbol; `help` is its tooltip and, without a text, its accessible name.
ToolButton {
    id: button

    property string symbol
    property string help
    property color symbolColor: Theme.secondaryText
    property int symbolSize: 16

    implicitWidth: 30
    implicitHeight: 30
    padding: 0
    hoverEnabled: true
    // Enter presses a focused button, as Space does.
    Keys.onReturnPressed: if (enabled) button.clicked()
    Keys.onEnterPressed: if (enabled) button.clicked()
    Accessible.name: text.length > 0 ? text : help
    ToolTip.visible: hovered && help.length > 0
    ToolTip.delay: 600
    ToolTip.text: help

    contentItem: Item {
        Icon {
            anchors.centerIn: parent
            symbol: button.symbol
            color: button.symbolColor
            sourceSize.width: button.symbolSize
            sourceSize.height: button.symbolSize
            opacity: button.enabled ? 1 : 0.4
        }
    }
    background: Rectangle {
        radius: Theme.radiusControl
        color: button.down ? Theme.separator : (button.hovered ? Theme.hover : "transparent")
        border.width: button.visualFocus ? Theme.focusRing : 0
        border.color: Theme.accent
        Behavior on color { ColorAnimation { duration: Theme.quick } }
    }
}
