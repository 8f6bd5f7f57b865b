import QtQuick
import QtQuick.Controls
import QtQuick.Layouts
import Brevio

// One person in an inspector or the group editor: avatar with the online mark, name, a line under
// it, and an optional action at the end (a member's removal).
Item {
    id: row

    property string userID
    property string name
    property string photo
    property string detail
    property bool online: false
    property string serverOrigin
    // The trailing action: its symbol and accessible name; none without a symbol.
    property string actionSymbol
    property string actionName
    signal actionTriggered()

    implicitHeight: Theme.personRowHeight
    implicitWidth: 240
    Accessible.role: Accessible.ListItem
    Accessible.name: online ? name + ", Online" : name
    Accessible.description: detail

    RowLayout {
        anchors.fill: parent
        spacing: Theme.s

        AvatarView {
            userID: row.userID
            name: row.name
            photo: row.photo
            online: row.online
            serverOrigin: row.serverOrigin
            size: Theme.avatarRow
        }
        ColumnLayout {
            spacing: 0
            Layout.fillWidth: true
            Label {
                color: Theme.text
                text: row.name
                elide: Text.ElideRight
                Layout.fillWidth: true
            }
            Label {
                visible: text.length > 0
                text: row.detail
                color: Theme.secondaryText
                font.pixelSize: Theme.small
                elide: Text.ElideRight
                Layout.fillWidth: true
            }
        }
        IconButton {
            objectName: "personAction"
            visible: row.actionSymbol.length > 0
            symbol: row.actionSymbol
            help: row.actionName
            onClicked: row.actionTriggered()
        }
    }
}
