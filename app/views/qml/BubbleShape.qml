import QtQuick
import Brevio

// A bubble's outline: a rounded rectangle whose corner toward the sender's side (bottom right for
// one's own, bottom left for others') is cut off by `cut` when `cutsCorner` is set. Built from
// antialiased rectangles: the rounded body, the cut corner's square made sharp again, and a
// diamond whose outer edge is the cut.
Item {
    id: shape

    property bool isMine: false
    property bool cutsCorner: false
    property real radius: Theme.radiusBubble
    property real cut: Theme.bubbleCut
    property color color: Theme.otherBubble
    property color borderColor: color
    property real borderWidth: 0

    component Fill: Item {
        id: fill
        property color color
        property real radius
        property real cut

        Rectangle {
            anchors.fill: parent
            radius: fill.radius
            color: fill.color
            antialiasing: true
        }
        // The cut corner, drawn at the bottom right and mirrored for others' bubbles.
        Item {
            anchors.fill: parent
            visible: shape.cutsCorner && fill.cut > 0
            transform: Scale { xScale: shape.isMine ? 1 : -1; origin.x: fill.width / 2 }

            Rectangle {
                x: fill.width - fill.radius
                y: fill.height - fill.radius
                width: fill.radius
                height: fill.radius - fill.cut
                color: fill.color
            }
            Rectangle {
                x: fill.width - fill.radius
                y: fill.height - fill.radius
                width: fill.radius - fill.cut
                height: fill.radius
                color: fill.color
            }
            Rectangle {
                width: fill.cut * Math.SQRT2
                height: width
                x: fill.width - fill.cut - width / 2
                y: fill.height - fill.cut - height / 2
                rotation: 45
                color: fill.color
                antialiasing: true
            }
        }
    }

    Fill {
        anchors.fill: parent
        visible: shape.borderWidth > 0
        color: shape.borderColor
        radius: shape.radius
        cut: shape.cut
    }
    Fill {
        anchors.fill: parent
        anchors.margins: shape.borderWidth
        color: shape.color
        radius: Math.max(0, shape.radius - shape.borderWidth)
        // The inner cut runs parallel to the outer one, `borderWidth` inside it.
        cut: Math.max(0, shape.cut - shape.borderWidth * (2 - Math.SQRT2))
    }
}
