import QtQuick
import QtQuick.Controls
import Brevio

// Who is writing, below the newest message, with three dots that pulse while it shows.
Item {
    id: row

    property string text

    readonly property bool shown: text.length > 0
    implicitHeight: shown ? label.implicitHeight + Theme.s * 2 : Theme.s
    Accessible.role: Accessible.StaticText
    Accessible.name: text

    Row {
        anchors.left: parent.left
        anchors.leftMargin: Theme.l
        anchors.verticalCenter: parent.verticalCenter
        spacing: Theme.s
        visible: row.shown

        // The dots loop every 1.2 s, only while they can be seen.
        Row {
            id: dots
            objectName: "typingDots"
            anchors.verticalCenter: parent.verticalCenter
            spacing: 3
            readonly property bool animating: visible && row.Window.window !== null
                                              && row.Window.window.visibility !== Window.Hidden
                                              && row.Window.window.visibility !== Window.Minimized
            Repeater {
                model: 3
                delegate: Rectangle {
                    required property int index
                    width: 6
                    height: 6
                    radius: 3
                    color: Theme.secondaryText
                    opacity: 0.3
                    SequentialAnimation on opacity {
                        running: dots.animating
                        loops: Animation.Infinite
                        PauseAnimation { duration: index * 200 }
                        NumberAnimation { to: 1; duration: 300; easing.type: Easing.InOutQuad }
                        NumberAnimation { to: 0.3; duration: 300; easing.type: Easing.InOutQuad }
                        PauseAnimation { duration: 400 - index * 200 }
                    }
                }
            }
        }
        Label {
            id: label
            objectName: "typingText"
            text: row.text
            color: Theme.secondaryText
            font.pixelSize: Theme.secondary
            font.italic: true
        }
    }
}
