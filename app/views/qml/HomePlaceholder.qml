import QtQuick
import Brevio
import QtQuick.Controls
import QtQuick.Layouts

// The first home screen: the conversations beside the selected one's latest messages and a line
// to write in.
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
                        required property var modelData
                        width: ListView.view.width
                        height: Theme.rowHeight
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
                                    font.weight: Font.DemiBold
                                    elide: Text.ElideRight
                                    Layout.fillWidth: true
                                }
                                Label {
                                    text: modelData.preview
                                    color: Theme.secondaryText
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

        ColumnLayout {
            spacing: 0
            Layout.fillWidth: true
            Layout.fillHeight: true

            Label {
                text: summary.title
                font.pixelSize: Theme.title
                font.weight: Font.DemiBold
                elide: Text.ElideRight
                Layout.fillWidth: true
                Layout.margins: Theme.margin
            }
            ListView {
                id: messages
                objectName: "messageList"
                clip: true
                model: summary.messages
                spacing: Theme.xs
                verticalLayoutDirection: ListView.TopToBottom
                Layout.fillWidth: true
                Layout.fillHeight: true
                onCountChanged: positionViewAtEnd()
                delegate: Item {
                    required property var modelData
                    width: ListView.view.width
                    height: bubble.height
                    Rectangle {
                        id: bubble
                        anchors.right: modelData.mine ? parent.right : undefined
                        anchors.left: modelData.mine ? undefined : parent.left
                        anchors.leftMargin: Theme.margin
                        anchors.rightMargin: Theme.margin
                        width: Math.min(body.implicitWidth, parent.width * 0.7) + 2 * Theme.m
                        height: body.implicitHeight + 2 * Theme.s
                        radius: Theme.radiusBubble
                        color: modelData.mine ? Theme.ownBubble : Theme.otherBubble
                        opacity: modelData.pending ? 0.7 : 1
                        TextEdit {
                            id: body
                            x: Theme.m
                            y: Theme.s
                            width: Math.min(implicitWidth, bubble.parent.width * 0.7)
                            text: (modelData.mine ? "" : modelData.author + ": ") + modelData.text
                            color: modelData.mine ? Theme.ownText : Theme.otherText
                            wrapMode: TextEdit.Wrap
                            readOnly: true
                            selectByMouse: true
                            font.pixelSize: Theme.body
                        }
                    }
                }
            }
            RowLayout {
                visible: summary.title.length > 0
                spacing: Theme.s
                Layout.fillWidth: true
                Layout.margins: Theme.margin
                TextField {
                    id: composer
                    objectName: "composer"
                    placeholderText: "Scrivi un messaggio"
                    Layout.fillWidth: true
                    Accessible.name: "Messaggio"
                    onAccepted: send()
                    function send() {
                        if (view.app.sendText(view.app.selectedConversationID, text))
                            text = ""
                    }
                }
                Button {
                    objectName: "sendButton"
                    text: "Invia"
                    highlighted: true
                    enabled: composer.text.trim().length > 0
                    Accessible.name: text
                    onClicked: composer.send()
                }
            }
        }
    }
}
