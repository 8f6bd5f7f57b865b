import QtQuick
import QtQuick.Controls
import QtQuick.Layouts
import Brevio

// The pane beside a group: its name (staff rename it in place), the members (staff remove them),
// adding people, and leaving after a confirmation.
ScrollView {
    id: inspector

    property AppModel app
    property string conversationID
    readonly property alias model: group
    // The group editor in add mode is open.
    property bool showsAddMembers: false
    property bool confirmsLeave: false

    contentWidth: availableWidth
    onShowsAddMembersChanged: showsAddMembers ? addEditor.open() : addEditor.close()
    onConfirmsLeaveChanged: confirmsLeave ? leaveDialog.open() : leaveDialog.close()

    GroupInspectorModel {
        id: group
        app: inspector.app
        conversationID: inspector.conversationID
        onLeft: inspector.confirmsLeave = false
    }

    ColumnLayout {
        width: inspector.availableWidth
        spacing: Theme.s

        AvatarView {
            userID: inspector.conversationID
            name: group.name
            group: true
            serverOrigin: inspector.app ? inspector.app.serverOrigin : ""
            size: Theme.avatarInspector
            Layout.alignment: Qt.AlignHCenter
            Layout.topMargin: Theme.l
        }
        TextField {
            id: nameField
            objectName: "groupNameField"
            text: group.name
            readOnly: !group.canManage
            horizontalAlignment: Text.AlignHCenter
            font.pixelSize: Theme.title
            font.weight: Font.DemiBold
            selectByMouse: true
            Accessible.name: "Nome del gruppo"
            Layout.fillWidth: true
            Layout.leftMargin: Theme.margin
            Layout.rightMargin: Theme.margin
            background: Rectangle {
                radius: Theme.radiusControl
                color: nameField.activeFocus ? Theme.surface : "transparent"
                border.width: nameField.activeFocus ? 2 : 0
                border.color: Theme.accent
            }
            onAccepted: { group.rename(text); focus = false }
            onEditingFinished: if (text !== group.name) group.rename(text)
            Keys.onEscapePressed: { text = group.name; focus = false }
            Connections {
                target: group
                function onChanged() { if (!nameField.activeFocus) nameField.text = group.name }
            }
        }

        RowLayout {
            Layout.topMargin: Theme.m
            Layout.leftMargin: Theme.margin
            Layout.rightMargin: Theme.margin
            Label {
                text: "Membri"
                font.weight: Font.DemiBold
                color: Theme.secondaryText
                Accessible.role: Accessible.Heading
            }
            Item { Layout.fillWidth: true }
            Label {
                objectName: "memberCount"
                text: group.countText
                color: Theme.secondaryText
                font.pixelSize: Theme.small
            }
        }
        Repeater {
            objectName: "memberRows"
            model: group.members
            delegate: PersonRow {
                required property var modelData
                objectName: "member_" + modelData.userID
                userID: modelData.userID
                name: modelData.name
                photo: modelData.photo
                detail: modelData.detail
                online: modelData.online
                serverOrigin: inspector.app ? inspector.app.serverOrigin : ""
                actionSymbol: modelData.removable ? "minus.circle" : ""
                actionName: modelData.removeLabel
                enabled: !group.working
                Layout.fillWidth: true
                Layout.leftMargin: Theme.margin
                Layout.rightMargin: Theme.margin
                onActionTriggered: group.removeMember(modelData.userID)
            }
        }
        TextButton {
            objectName: "addMembersButton"
            visible: group.canManage
            text: "Aggiungi persone…"
            Layout.leftMargin: Theme.margin - Theme.s
            onClicked: inspector.showsAddMembers = true
        }
        TextButton {
            objectName: "leaveButton"
            text: "Esci dal gruppo"
            destructive: true
            enabled: !group.working
            Layout.leftMargin: Theme.margin - Theme.s
            onClicked: inspector.confirmsLeave = true
        }
        Label {
            objectName: "groupError"
            visible: text.length > 0
            text: group.error
            color: Theme.destructive
            font.pixelSize: Theme.small
            wrapMode: Text.WordWrap
            Layout.fillWidth: true
            Layout.leftMargin: Theme.margin
            Layout.rightMargin: Theme.margin
            Layout.bottomMargin: Theme.l
        }
    }

    GroupEditor {
        id: addEditor
        objectName: "addMembersEditor"
        app: inspector.app
        conversationID: inspector.conversationID
        onClosed: inspector.showsAddMembers = false
    }

    SheetDialog {
        id: leaveDialog
        objectName: "leaveDialog"
        title: "Uscire dal gruppo?"
        onOpened: cancelLeave.forceActiveFocus()
        onClosed: inspector.confirmsLeave = false
        onAccepted: group.leave()

        Label {
            color: Theme.text
            width: parent.width
            text: group.leaveText
            wrapMode: Text.WordWrap
        }
        footer: DialogButtonBox {
            background: Item {}
            Button {
                id: cancelLeave
                objectName: "cancelLeaveButton"
                palette.button: Theme.surface
                palette.buttonText: Theme.text
                palette.window: Theme.surface
                palette.windowText: Theme.text
                palette.base: Theme.surface
                palette.text: Theme.text
                palette.highlight: Theme.accent
                palette.highlightedText: "#FFFFFF"
                text: "Annulla"
                Accessible.name: text
                DialogButtonBox.buttonRole: DialogButtonBox.RejectRole
            }
            Button {
                id: confirmLeave
                objectName: "confirmLeaveButton"
                palette.button: Theme.surface
                palette.buttonText: Theme.text
                palette.window: Theme.surface
                palette.windowText: Theme.text
                palette.base: Theme.surface
                palette.text: Theme.text
                palette.highlight: Theme.accent
                palette.highlightedText: "#FFFFFF"
                text: "Esci"
                Accessible.name: text
                DialogButtonBox.buttonRole: DialogButtonBox.AcceptRole
                contentItem: Label {
                    text: confirmLeave.text
                    color: Theme.destructive
                    font.weight: Font.DemiBold
                    horizontalAlignment: Text.AlignHCenter
                    verticalAlignment: Text.AlignVCenter
                }
            }
        }
    }
}
