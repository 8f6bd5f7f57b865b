import QtQuick
import Brevio

// A message's delivery state as a small symbol; its text is what assistive technology reads.
Item {
    id: ticks

    property string symbol
    property string text
    property color color: Theme.ownMeta

    implicitWidth: Theme.tick
    implicitHeight: Theme.tick
    Accessible.role: Accessible.Graphic
    Accessible.name: text

    Icon {
        objectName: "tickIcon"
        anchors.centerIn: parent
        symbol: ticks.symbol
        color: ticks.color
        sourceSize.width: Theme.tick
        sourceSize.height: Theme.tick
    }
}
