import QtQuick
import Brevio

// The pane beside the chat that tells about the selected conversation: the client company, the
// group or the organisation.
Item {
    id: pane
    property AppModel app
    property string conversationID
    implicitWidth: 300
}
