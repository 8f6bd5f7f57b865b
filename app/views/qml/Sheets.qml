import QtQuick
import Brevio

// The sheets the main window presents on the model's request: the invite and the group editor.
Item {
    id: sheets
    property AppModel app
    anchors.fill: parent
}
