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
        Accessible.name: caption.text
        onAccepted: field.accepted()
    }
}
