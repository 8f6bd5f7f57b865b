import QtQuick
import QtQuick.Controls
import QtQuick.Layouts

// A row of mutually exclusive choices.
Rectangle {
    id: picker

    property var labels: []
    property int current: 0
    signal picked(int index)

    implicitHeight: 32
    radius: Theme.radiusControl
    color: Theme.dark ? Theme.window : Theme.separator
    Accessible.role: Accessible.PageTabList

    RowLayout {
        anchors.fill: parent
        anchors.margins: 2
        spacing: 2
        Repeater {
            model: picker.labels
            delegate: AbstractButton {
                id: segment
                required property int index
                required property string modelData
                text: modelData
                checkable: true
                checked: picker.current === index
                focusPolicy: Qt.StrongFocus
                Layout.fillWidth: true
                Layout.fillHeight: true
                Accessible.role: Accessible.PageTab
                Accessible.name: text
                onClicked: picker.picked(index)
                contentItem: Label {
                    text: segment.text
                    horizontalAlignment: Text.AlignHCenter
                    verticalAlignment: Text.AlignVCenter
                    font.weight: segment.checked ? Font.DemiBold : Font.Normal
                    color: Theme.text
                    elide: Text.ElideRight
                }
                background: Rectangle {
                    radius: Theme.radiusControl - 1
                    color: segment.checked ? Theme.surface : "transparent"
                    border.width: segment.visualFocus ? 2 : 0
                    border.color: Theme.accent
                    Behavior on color { ColorAnimation { duration: Theme.quick } }
                }
            }
        }
    }
}
