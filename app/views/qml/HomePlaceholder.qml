import QtQuick
import Brevio
import QtQuick.Controls
import QtQuick.Layouts

// The first home screen: the conversations beside the selected one's chat.
Item {
    id: view
    property AppModel app

    HomeSummary { id: summary; app: view.app }

    RowLayout {
        anchors.fill: parent
        spacing: 0

        Rectangle {
            color: Theme.surface
            Layout.preferredWidth: 300
            Layout.fillHeight: true

            ColumnLayout {
                anchors.fill: parent
                spacing: 0
                Label {
                    text: view.app ? view.app.userName : ""
                    font.pixelSize: Theme.title
                    font.weight: Font.DemiBold
                    elide: Text.ElideRight
                    Layout.fillWidth: true
                    Layout.margins: Theme.margin
                }
                ListView {
                    id: list
                    objectName: "conversationList"
                    clip: true
                    model: summary.conversations
                    Layout.fillWidth: true
                    Layout.fillHeight: true
                    keyNavigationEnabled: true
                    activeFocusOnTab: true
                    Accessible.role: Accessible.List
                    Accessible.name: "Conversazioni"
                    delegate: ItemDelegate {
                        id: row
                        required property var modelData
                        width: ListView.view.width
                        height: Theme.rowHeight
                        leftPadding: Theme.m
                        rightPadding: Theme.m
                        highlighted: view.app && view.app.selectedConversationID === modelData.id
                        Accessible.name: modelData.title
                        onClicked: view.app.selectConversation(modelData.id)
                        contentItem: RowLayout {
                            spacing: Theme.s
                            ColumnLayout {
                                spacing: 2
                                Layout.fillWidth: true
                                Label {
                                    text: modelData.title
                                    color: row.highlighted ? Theme.ownText : Theme.text
                                    font.weight: Font.DemiBold
                                    elide: Text.ElideRight
                                    Layout.fillWidth: true
                                }
                                Label {
                                    text: modelData.preview
                                    color: row.highlighted ? Theme.ownMeta : Theme.secondaryText
                                    font.pixelSize: Theme.secondary
                                    elide: Text.ElideRight
                                    maximumLineCount: 1
                                    Layout.fillWidth: true
                                }
                            }
                            Rectangle {
                                visible: modelData.unread > 0
                                color: Theme.badge
                                radius: height / 2
                                implicitHeight: 20
                                implicitWidth: Math.max(20, count.implicitWidth + Theme.s * 1.5)
                                Label {
                                    id: count
                                    anchors.centerIn: parent
                                    text: modelData.unread > 99 ? "99+" : modelData.unread
                                    color: "#FFFFFF"
                                    font.pixelSize: Theme.small
                                }
                            }
                        }
                    }
                }
            }
        }
        Rectangle { color: Theme.separator; Layout.preferredWidth: 1; Layout.fillHeight: true }

        ChatView {
            objectName: "chatView"
            app: view.app
            conversationID: view.app ? view.app.selectedConversationID : ""
            Layout.fillWidth: true
            Layout.fillHeight: true
        }
    }
}
