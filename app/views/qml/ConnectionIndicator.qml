import QtQuick
import QtQuick.Controls
import Brevio

// The connection in a word beside the conversation's title; hovering tells what it means.
Item {
    id: indicator

    property bool online: true
    property string label
    property string help

    implicitWidth: row.implicitWidth
    implicitHeight: Math.max(row.implicitHeight, 24)
    Accessible.role: Accessible.StaticText
    Accessible.name: label
    Accessible.description: help

    HoverHandler { id: hover }
    ToolTip.visible: hover.hovered && help.length > 0
    ToolTip.delay: 400
    ToolTip.text: help

    Row {
        id: row
        anchors.verticalCenter: parent.verticalCenter
        spacing: Theme.xs + 2
        Rectangle {
            anchors.verticalCenter: parent.verticalCenter
            width: 8
            height: 8
            radius: 4
            color: indicator.online ? Theme.online : Theme.secondaryText
        }
        Label {
            objectName: "indicatorLabel"
            anchors.verticalCenter: parent.verticalCenter
            text: indicator.label
            color: Theme.secondaryText
            font.pixelSize: Theme.secondary
        }
    }
}
