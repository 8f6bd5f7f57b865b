import QtQuick
import QtQuick.Controls
import Brevio

// A setting that is on or off: the theme's pill with its knob, then the words. Keyboard focus
// shows as a ring around the pill.
Switch {
    id: control

    spacing: Theme.s
    padding: 2
    Accessible.name: text

    indicator: Rectangle {
        implicitWidth: 34
        implicitHeight: 20
        x: control.leftPadding
        y: control.topPadding + (control.availableHeight - height) / 2
        radius: height / 2
        color: control.checked ? Theme.accent : Theme.fieldBorder
        opacity: control.enabled ? 1 : 0.45
        Behavior on color { ColorAnimation { duration: Theme.quick } }

        Rectangle {
            id: knob
            width: parent.height - 4
            height: width
            radius: width / 2
            y: 2
            x: control.checked ? parent.width - width - 2 : 2
            color: "#FFFFFF"
            Behavior on x { NumberAnimation { duration: Theme.quick; easing.type: Easing.OutCubic } }
        }

        Rectangle {
            anchors.fill: parent
            anchors.margins: -3
            radius: height / 2
            color: "transparent"
            border.width: Theme.focusRing
            border.color: Theme.accent
            visible: control.visualFocus
        }
    }

    contentItem: Label {
        leftPadding: control.indicator.width + control.spacing
        verticalAlignment: Text.AlignVCenter
        text: control.text
        color: control.enabled ? Theme.text : Theme.secondaryText
    }
}
