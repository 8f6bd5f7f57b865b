import QtQuick
import QtQuick.Controls
import Brevio

// The day a run of messages was written, centred between them.
Item {
    id: separator

    property string text

    implicitHeight: pill.height + 2 * Theme.m
    Accessible.role: Accessible.Separator
    Accessible.name: text

    Rectangle {
        id: pill
        anchors.centerIn: parent
        width: label.implicitWidth + 2 * Theme.m
        height: label.implicitHeight + Theme.xs * 1.5
        radius: height / 2
        color: Theme.surface
        border.color: Theme.separator
        Label {
            id: label
            anchors.centerIn: parent
            text: separator.text
            color: Theme.secondaryText
            font.pixelSize: Theme.small
            font.weight: Font.DemiBold
        }
    }
}
