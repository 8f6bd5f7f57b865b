import QtQuick
import Brevio

// A message's delivery state as a small symbol; its text is what assistive technology reads.
Icon {
    property string text

    sourceSize.width: Theme.tick
    sourceSize.height: Theme.tick
    color: Theme.ownMeta
    Accessible.ignored: false
    Accessible.role: Accessible.Graphic
    Accessible.name: text
}
