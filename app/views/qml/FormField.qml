import QtQuick
import QtQuick.Controls
import QtQuick.Layouts

// A labelled single-line field of a form.
ColumnLayout {
    id: field

    property alias label: caption.text
    property alias text: input.text
    property alias placeholder: input.placeholderText
    property alias input: input
    property bool secret: false
    signal accepted()

    spacing: Theme.xs
    Layout.fillWidth: true

    Label {
        id: caption
        color: Theme.secondaryText
        font.pixelSize: Theme.secondary
    }
    TextField {
        id: input
        Layout.fillWidth: true
        echoMode: field.secret ? TextInput.Password : TextInput.Normal
        selectByMouse: true
        leftPadding: Theme.s + 2
        rightPadding: Theme.s + 2
        Accessible.name: caption.text
        background: Rectangle {
            implicitHeight: 32
            radius: Theme.radiusControl
            color: Theme.surface
            border.width: input.activeFocus ? 2 : 1
            border.color: input.activeFocus ? Theme.accent : Theme.fieldBorder
        }
        onAccepted: field.accepted()
    }
}
