import QtQuick
import QtQuick.Controls
import QtQuick.Layouts
import Brevio

// An empty state: a symbol, one line of title, one of explanation and an optional detail,
// centred, in the secondary colour.
Item {
    id: empty

    property string symbol
    property string title
    property string text
    property string detail
    default property alias actions: extra.data

    Accessible.role: Accessible.StaticText
    Accessible.name: [title, text, detail].filter(t => t.length > 0).join(". ")

    ColumnLayout {
        anchors.centerIn: parent
        width: Math.min(Theme.emptyTextWidth, empty.width - 2 * Theme.margin)
        spacing: Theme.s

        Icon {
            symbol: empty.symbol
            visible: empty.symbol.length > 0
            color: Theme.secondaryText
            sourceSize.width: Theme.emptySymbol
            sourceSize.height: Theme.emptySymbol
            Layout.alignment: Qt.AlignHCenter
            Layout.bottomMargin: Theme.xs
        }
        Label {
            objectName: "emptyTitle"
            text: empty.title
            visible: text.length > 0
            color: Theme.text
            font.pixelSize: Theme.title
            font.weight: Font.DemiBold
            wrapMode: Text.Wrap
            horizontalAlignment: Text.AlignHCenter
            Layout.fillWidth: true
        }
        Label {
            objectName: "emptyText"
            text: empty.text
            visible: text.length > 0
            color: Theme.secondaryText
            wrapMode: Text.Wrap
            horizontalAlignment: Text.AlignHCenter
            Layout.fillWidth: true
        }
        Label {
            objectName: "emptyDetail"
            text: empty.detail
            visible: text.length > 0
            color: Theme.secondaryText
            font.pixelSize: Theme.secondary
            wrapMode: Text.Wrap
            horizontalAlignment: Text.AlignHCenter
            Layout.fillWidth: true
        }
        Item {
            id: extra
            implicitWidth: childrenRect.width
            implicitHeight: childrenRect.height
            visible: children.length > 0
            Layout.alignment: Qt.AlignHCenter
            Layout.topMargin: Theme.xs
        }
    }
}
