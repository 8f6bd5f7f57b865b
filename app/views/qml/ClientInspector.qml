import QtQuick
import QtQuick.Controls
import QtQuick.Layouts
import Brevio

// The pane beside a client company's conversation: the company, its people, the internal notes
// (saved by themselves) and the invite.
ScrollView {
    id: inspector

    property AppModel app
    property string conversationID
    readonly property alias model: client

    contentWidth: availableWidth
    ClientInspectorModel {
        id: client
        app: inspector.app
        conversationID: inspector.conversationID
    }

    ColumnLayout {
        width: inspector.availableWidth
        spacing: Theme.s

        AvatarView {
            userID: client.clientID
            name: client.companyName
            serverOrigin: inspector.app ? inspector.app.serverOrigin : ""
            size: Theme.avatarInspector
            Layout.alignment: Qt.AlignHCenter
            Layout.topMargin: Theme.l
        }
        Label {
            objectName: "companyName"
            text: client.companyName
            font.pixelSize: Theme.title
            font.weight: Font.DemiBold
            horizontalAlignment: Text.AlignHCenter
            wrapMode: Text.WordWrap
            Layout.fillWidth: true
            Layout.leftMargin: Theme.margin
            Layout.rightMargin: Theme.margin
            Accessible.role: Accessible.Heading
        }
        Label {
            visible: text.length > 0
            text: client.sinceText
            color: Theme.secondaryText
            font.pixelSize: Theme.small
            Layout.alignment: Qt.AlignHCenter
        }

        Label {
            text: "Persone"
            font.weight: Font.DemiBold
            color: Theme.secondaryText
            Layout.topMargin: Theme.m
            Layout.leftMargin: Theme.margin
            Accessible.role: Accessible.Heading
        }
        Repeater {
            model: client.people
            delegate: PersonRow {
                required property var modelData
                userID: modelData.userID
                name: modelData.name
                photo: modelData.photo
                detail: modelData.detail
                online: modelData.online
                serverOrigin: inspector.app ? inspector.app.serverOrigin : ""
                Layout.fillWidth: true
                Layout.leftMargin: Theme.margin
                Layout.rightMargin: Theme.margin
            }
        }
        Label {
            objectName: "inviteState"
            visible: text.length > 0
            text: client.inviteState
            color: Theme.secondaryText
            font.pixelSize: Theme.small
            wrapMode: Text.WordWrap
            Layout.fillWidth: true
            Layout.leftMargin: Theme.margin
            Layout.rightMargin: Theme.margin
        }
        TextButton {
            objectName: "inviteButton"
            text: client.inviteButton
            Layout.leftMargin: Theme.margin - Theme.s
            onClicked: client.openInvite()
        }

        Label {
            text: "Note interne"
            font.weight: Font.DemiBold
            color: Theme.secondaryText
            Layout.topMargin: Theme.m
            Layout.leftMargin: Theme.margin
            Accessible.role: Accessible.Heading
        }
        TextArea {
            id: notes
            objectName: "notesField"
            text: client.notes
            wrapMode: TextEdit.Wrap
            selectByMouse: true
            Accessible.name: "Note interne"
            Accessible.description: "Le vede solo lo staff, mai il cliente."
            Layout.fillWidth: true
            Layout.minimumHeight: Theme.notesHeight
            Layout.leftMargin: Theme.margin
            Layout.rightMargin: Theme.margin
            Keys.onTabPressed: (event) => { nextItemInFocusChain().forceActiveFocus(Qt.TabFocusReason) }
            background: Rectangle {
                radius: Theme.radiusControl
                color: Theme.surface
                border.width: notes.activeFocus ? 2 : 1
                border.color: notes.activeFocus ? Theme.accent : Theme.fieldBorder
            }
            onTextChanged: if (text !== client.notes) client.editNotes(text)
        }
        Label {
            text: "Le vede solo lo staff, mai il cliente."
            color: Theme.secondaryText
            font.pixelSize: Theme.small
            wrapMode: Text.WordWrap
            Layout.fillWidth: true
            Layout.leftMargin: Theme.margin
            Layout.rightMargin: Theme.margin
        }
        Label {
            objectName: "notesError"
            visible: text.length > 0
            text: client.saveError
            color: Theme.destructive
            font.pixelSize: Theme.small
            wrapMode: Text.WordWrap
            Layout.fillWidth: true
            Layout.leftMargin: Theme.margin
            Layout.rightMargin: Theme.margin
            Layout.bottomMargin: Theme.l
        }
    }
}
