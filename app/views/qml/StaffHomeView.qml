import QtQuick
import QtQuick.Controls
import QtQuick.Layouts
import Brevio

// The staff's home: the conversations, the open chat (or the hint to choose one) and, when
// asked for, the inspector column.
Item {
    id: view

    property AppModel app
    readonly property string selectedID: app ? app.selectedConversationID : ""

    RowLayout {
        anchors.fill: parent
        spacing: 0

        ConversationsView {
            id: conversations
            objectName: "conversationsView"
            app: view.app
            focus: true
            Layout.preferredWidth: Theme.listPaneWidth
            Layout.minimumWidth: Theme.listPaneMinimumWidth
            Layout.fillHeight: true
        }
        Rectangle {
            color: Theme.separator
            Layout.preferredWidth: 1
            Layout.fillHeight: true
        }
        Item {
            Layout.fillWidth: true
            Layout.fillHeight: true

            // Made on the first selection: until then the focus stays in the list.
            Loader {
                anchors.fill: parent
                active: view.selectedID.length > 0
                visible: active
                sourceComponent: ChatView {
                    objectName: "chatView"
                    app: view.app
                    conversationID: view.selectedID
                }
            }
            Rectangle {
                anchors.fill: parent
                visible: view.selectedID.length === 0
                color: Theme.window

                EmptyStateView {
                    objectName: "noSelection"
                    anchors.fill: parent
                    symbol: "bubble.left.and.bubble.right"
                    title: "Scegli una conversazione"
                    text: "Aziende e gruppi sono a sinistra, in ordine di ultimo messaggio."
                }
            }
        }
        InspectorPane {
            id: inspector
            objectName: "inspectorPane"
            visible: view.app ? view.app.showsInspector : false
            app: view.app
            conversationID: view.selectedID
            Layout.preferredWidth: implicitWidth
            Layout.fillHeight: true
        }
    }
}
