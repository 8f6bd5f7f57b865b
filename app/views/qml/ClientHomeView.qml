import QtQuick
import QtQuick.Controls
import QtQuick.Layouts
import Brevio

// The client's home: "Brevio" with the staff's presence under it, the account menu, and the
// client's conversation in the chat view (a picker above it when there are groups too).
Item {
    id: view

    property AppModel app
    readonly property ClientHomeModel home: home
    readonly property string selectedID: app ? app.selectedConversationID : ""

    ClientHomeModel {
        id: home
        app: view.app
    }

    Rectangle {
        anchors.fill: parent
        color: Theme.window
    }

    ColumnLayout {
        anchors.fill: parent
        spacing: 0

        Rectangle {
            color: Theme.surface
            Layout.fillWidth: true
            implicitHeight: header.implicitHeight + 2 * Theme.m

            RowLayout {
                id: header
                anchors.fill: parent
                anchors.leftMargin: Theme.margin
                anchors.rightMargin: Theme.margin
                spacing: Theme.m

                ColumnLayout {
                    spacing: 2
                    Layout.fillWidth: true
                    Label {
                        objectName: "homeTitle"
                        text: home.title
                        font.pixelSize: Theme.title
                        font.weight: Font.DemiBold
                        color: Theme.text
                        elide: Text.ElideRight
                        Layout.fillWidth: true
                        Accessible.role: Accessible.Heading
                        Accessible.name: text
                    }
                    RowLayout {
                        spacing: Theme.xs
                        Rectangle {
                            visible: home.staffOnline
                            color: Theme.online
                            implicitWidth: Theme.s
                            implicitHeight: Theme.s
                            radius: width / 2
                        }
                        Label {
                            objectName: "staffStatus"
                            text: home.statusText
                            color: Theme.secondaryText
                            font.pixelSize: Theme.secondary
                            Accessible.name: text
                        }
                    }
                }
                IconButton {
                    id: accountButton
                    objectName: "accountButton"
                    symbol: home.accountMenuSymbol
                    symbolSize: 20
                    help: home.accountMenuTitle
                    onClicked: accountMenu.popup(accountButton, 0, accountButton.height)

                    Menu {
                        id: accountMenu
                        objectName: "accountMenu"
                        title: home.accountMenuTitle
                        MenuItem {
                            objectName: "settingsItem"
                            text: home.settingsText
                            Accessible.name: text
                            onTriggered: view.app.openSettings()
                        }
                        MenuItem {
                            objectName: "signOutItem"
                            text: home.signOutText
                            Accessible.name: text
                            onTriggered: view.app.signOut()
                        }
                    }
                }
            }
        }

        // With groups beside the company's conversation: which one is open.
        Rectangle {
            visible: home.conversations.length > 1
            color: Theme.surface
            Layout.fillWidth: true
            implicitHeight: picker.implicitHeight + Theme.s * 2
            TabBar {
                id: picker
                objectName: "conversationPicker"
                anchors.fill: parent
                anchors.leftMargin: Theme.margin
                anchors.rightMargin: Theme.margin
                anchors.topMargin: Theme.xs
                anchors.bottomMargin: Theme.xs
                Accessible.name: "Conversazioni"
                background: null
                Repeater {
                    model: home.conversations
                    delegate: TabButton {
                        required property var modelData
                        text: modelData.badge.length > 0 ? modelData.title + "  " + modelData.badge
                                                         : modelData.title
                        checked: modelData.conversationID === view.selectedID
                        width: implicitWidth
                        Accessible.name: modelData.badgeAccessible.length > 0
                                         ? modelData.title + ", " + modelData.badgeAccessible
                                         : modelData.title
                        onClicked: view.app.selectConversation(modelData.conversationID)
                    }
                }
            }
        }
        Rectangle {
            color: Theme.separator
            Layout.fillWidth: true
            implicitHeight: 1
        }

        Item {
            Layout.fillWidth: true
            Layout.fillHeight: true

            ChatView {
                objectName: "chatView"
                anchors.fill: parent
                visible: home.hasConversation
                app: view.app
                conversationID: view.selectedID
            }
            EmptyStateView {
                objectName: "clientEmptyState"
                anchors.fill: parent
                visible: !home.hasConversation
                symbol: home.emptySymbol
                title: home.emptyTitle
                text: home.emptyText
            }
        }
    }
}
