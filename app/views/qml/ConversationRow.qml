import QtQuick
import QtQuick.Controls
import QtQuick.Layouts
import Brevio

// One conversation in the list: avatar, name, time of the last message, the one-line preview
// and the unread badge. Every text comes from the list's model.
ItemDelegate {
    id: row

    required property int index
    required property string conversationID
    required property string title
    required property string preview
    required property string previewKind
    required property string time
    required property string badge
    required property string badgeAccessible
    required property bool isGroup
    required property string avatarID
    required property string avatarName
    required property string avatarPhoto
    required property bool online
    required property bool selected
    required property string accessibleName
    property string serverOrigin
    // The keyboard's place in the list (Up/Down), apart from the open conversation.
    property bool current: false

    signal opened(string conversationID)

    implicitHeight: Theme.rowHeight
    leftPadding: Theme.m
    rightPadding: Theme.m
    topPadding: Theme.s
    bottomPadding: Theme.s
    hoverEnabled: true
    focusPolicy: Qt.NoFocus
    highlighted: selected
    Accessible.role: Accessible.ListItem
    Accessible.name: accessibleName
    Accessible.selected: selected
    onClicked: row.opened(row.conversationID)

    readonly property color primaryColor: selected ? Theme.ownText : Theme.text
    readonly property color secondaryColor: selected ? Theme.ownMeta : Theme.secondaryText

    background: Rectangle {
        color: row.selected ? Theme.ownBubble : (row.hovered ? Theme.hover : "transparent")
        border.width: row.current && row.ListView.view && row.ListView.view.activeFocus
                      ? Theme.focusRing : 0
        border.color: row.selected ? Theme.ownMeta : Theme.accent
        radius: Theme.radiusControl
        Behavior on color { ColorAnimation { duration: Theme.quick } }
    }

    contentItem: RowLayout {
        spacing: Theme.m

        AvatarView {
            userID: row.avatarID
            name: row.avatarName
            photo: row.avatarPhoto
            serverOrigin: row.serverOrigin
            group: row.isGroup
            online: row.online
            size: Theme.avatarList
            Layout.alignment: Qt.AlignVCenter
        }
        ColumnLayout {
            spacing: 2
            Layout.fillWidth: true
            Layout.alignment: Qt.AlignVCenter

            RowLayout {
                spacing: Theme.s
                Layout.fillWidth: true
                Label {
                    objectName: "rowTitle"
                    text: row.title
                    color: row.primaryColor
                    font.weight: Font.DemiBold
                    elide: Text.ElideRight
                    Layout.fillWidth: true
                }
                Label {
                    objectName: "rowTime"
                    text: row.time
                    visible: text.length > 0
                    color: row.secondaryColor
                    font.pixelSize: Theme.secondary
                }
            }
            RowLayout {
                spacing: Theme.s
                Layout.fillWidth: true
                Label {
                    objectName: "rowPreview"
                    text: row.preview
                    color: row.previewKind === "typing" && !row.selected ? Theme.accentText
                                                                         : row.secondaryColor
                    font.pixelSize: Theme.secondary
                    font.italic: row.previewKind === "deleted" || row.previewKind === "none"
                    elide: Text.ElideRight
                    maximumLineCount: 1
                    textFormat: Text.PlainText
                    Layout.fillWidth: true
                }
                Rectangle {
                    objectName: "rowBadge"
                    visible: row.badge.length > 0
                    color: row.selected ? Theme.ownText : Theme.badge
                    radius: height / 2
                    implicitHeight: Theme.badgeHeight
                    implicitWidth: Math.max(Theme.badgeHeight, badgeLabel.implicitWidth + Theme.s * 1.5)
                    Accessible.role: Accessible.StaticText
                    Accessible.name: row.badgeAccessible
                    Label {
                        id: badgeLabel
                        anchors.centerIn: parent
                        text: row.badge
                        color: row.selected ? Theme.ownBubble : Theme.badgeText
                        font.pixelSize: Theme.small
                        font.weight: Font.DemiBold
                    }
                }
            }
        }
    }
}
