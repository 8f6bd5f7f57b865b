import QtQuick
import Brevio

// The sheets the main window presents on the model's request: the invite and the group editor.
// Closing one (Esc, Annulla, Fine, or done) clears its request.
Item {
    id: sheets
    property AppModel app
    readonly property alias inviteSheet: invite
    readonly property alias groupEditor: newGroup
    readonly property bool invitePresented: app ? app.isInviteSheetPresented : false
    readonly property bool groupRequested: app ? app.isNewGroupRequested : false

    anchors.fill: parent

    onInvitePresentedChanged: invitePresented ? invite.open() : invite.close()
    onGroupRequestedChanged: groupRequested ? newGroup.open() : newGroup.close()
    // A window made while a request stands (it was closed and opened again) shows the sheet too.
    Component.onCompleted: {
        if (invitePresented)
            invite.open()
        if (groupRequested)
            newGroup.open()
    }

    InviteSheet {
        id: invite
        objectName: "inviteSheet"
        app: sheets.app
        onClosed: {
            if (!sheets.app)
                return
            sheets.app.isInviteSheetPresented = false
            sheets.app.inviteClientID = ""
        }
    }
    GroupEditor {
        id: newGroup
        objectName: "newGroupEditor"
        app: sheets.app
        onClosed: if (sheets.app) sheets.app.isNewGroupRequested = false
    }
}
