import QtQuick
import QtQuick.Controls
import Brevio

// The pane beside the chat that tells about the selected conversation: the client company, the
// group or, with nothing (or anything else) selected, the organisation.
Rectangle {
    id: pane
    property AppModel app
    property string conversationID
    // "client", "group" or "organization".
    readonly property string shows: groupProbe.countText.length > 0 ? "group"
                                  : clientProbe.clientID.length > 0 ? "client" : "organization"
    readonly property Item inspector: loader.item

    implicitWidth: Theme.inspectorWidth
    color: Theme.window

    // What kind of conversation is selected; the inspectors keep their own models.
    GroupInspectorModel { id: groupProbe; app: pane.app; conversationID: pane.conversationID }
    ClientInspectorModel { id: clientProbe; app: pane.app; conversationID: pane.conversationID }

    Rectangle {
        width: 1
        height: parent.height
        color: Theme.separator
    }

    Loader {
        id: loader
        anchors.fill: parent
        anchors.leftMargin: 1
        sourceComponent: pane.shows === "group" ? groupInspector
                       : pane.shows === "client" ? clientInspector : organizationInspector
    }

    Component {
        id: clientInspector
        ClientInspector { objectName: "clientInspector"; app: pane.app; conversationID: pane.conversationID }
    }
    Component {
        id: groupInspector
        GroupInspector { objectName: "groupInspector"; app: pane.app; conversationID: pane.conversationID }
    }
    Component {
        id: organizationInspector
        OrganizationInspector { objectName: "organizationInspector"; app: pane.app }
    }
}
