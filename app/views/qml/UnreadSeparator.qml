import QtQuick
import QtQuick.Controls
import QtQuick.Layouts
import Brevio

// Where the unread messages begin: a line in the accent colour with their count.
Item {
    id: separator

    property string text

    implicitHeight: label.implicitHeight + 2 * Theme.m
    Accessible.role: Accessible.Separator
    Accessible.name: text

    RowLayout {
        anchors.fill: parent
        anchors.leftMargin: Theme.l
        anchors.rightMargin: Theme.l
        spacing: Theme.m
        Rectangle { color: Theme.accent; height: 1; Layout.fillWidth: true; opacity: 0.6 }
        Label {
            id: label
            text: separator.text
            color: Theme.accentText
            font.pixelSize: Theme.small
            font.weight: Font.DemiBold
        }
        Rectangle { color: Theme.accent; height: 1; Layout.fillWidth: true; opacity: 0.6 }
    }
}
