import QtQuick
import QtQuick.Controls
import QtQuick.Layouts
import Brevio

// One conversation of the signed-in user: its title and connection, the messages, the search bar,
// the connection banner and the composer, with each message's actions and their dialogs. Every
// rule and text comes from the chat's view model; this view lays them out and passes clicks on.
Item {
    id: view

    property AppModel app
    property string conversationID
    readonly property ChatViewModel chat: chat
    property bool searchOpen: false

    function openSearch() {
        searchOpen = true
        Qt.callLater(searchBar.focusField)
    }
    function closeSearch() {
        chat.closeSearch()
        searchOpen = false
        composer.focusField()
    }

    // The context menu of a message, from chat.actions() in its order.
    function openActions(rowID, source, x, y) {
        const entries = chat.actions(rowID)
        if (entries.length === 0)
            return
        while (actionsMenu.count > 0)
            actionsMenu.takeItem(0).destroy()
        for (const entry of entries) {
            actionsMenu.addItem(menuEntry.createObject(view, {
                actionID: entry.action, text: entry.text, symbol: entry.symbol, rowID: rowID,
                source: source
            }))
        }
        actionsMenu.popup(source, x, y)
    }
    function runAction(action, rowID, source) {
        switch (action) {
        case "react":
            reactionPalette.rowID = rowID
            reactionPalette.parent = source
            reactionPalette.x = source ? (source.width - reactionPalette.width) / 2 : 0
            reactionPalette.y = -reactionPalette.height - Theme.xs
            reactionPalette.open()
            break
        case "reply":
            chat.replyTo(rowID)
            break
        case "copy":
            chat.copyText(rowID)
            break
        case "edit":
            chat.startEditing(rowID)
            break
        case "info":
            chat.requestInfo(rowID)
            messageInfo.open()
            break
        case "delete":
            deleteDialog.rowID = rowID
            deleteDialog.open()
            break
        case "retry":
            chat.retry(rowID)
            break
        case "discard":
            chat.discard(rowID)
            break
        case "unreact":
            chat.react(rowID, "")
            break
        }
    }

    ChatViewModel {
        id: chat
        app: view.app
        conversationID: view.conversationID
        highlightColor: Theme.highlight
        highlightTextColor: Theme.highlightText
        linkColor: Theme.accentText
        ownLinkColor: Theme.ownText
    }

    Connections {
        target: chat
        function onConversationChanged() {
            view.searchOpen = false
            Qt.callLater(composer.focusField)
        }
        function onComposerChanged() {
            if (chat.replying || chat.editing)
                composer.focusField()
        }
        function onFailed(message) {
            alertDialog.message = message
            alertDialog.open()
        }
    }
    Component.onCompleted: Qt.callLater(composer.focusField)

    Shortcut {
        sequence: "Ctrl+F"
        context: Qt.WindowShortcut
        enabled: view.visible && chat.conversationID.length > 0
        onActivated: view.openSearch()
    }
    // Esc closes the search wherever the keyboard is in the chat (the field, the messages).
    Keys.onEscapePressed: (event) => {
        if (view.searchOpen)
            view.closeSearch()
        else
            event.accepted = false
    }

    ChatBackdrop {
        anchors.fill: parent
    }

    ColumnLayout {
        anchors.fill: parent
        spacing: 0
        visible: chat.conversationID.length > 0

        // The header: the conversation, the connection, search.
        Rectangle {
            objectName: "chatHeader"
            color: Theme.surface
            Layout.fillWidth: true
            Layout.preferredHeight: 52

            RowLayout {
                anchors.fill: parent
                anchors.leftMargin: Theme.l
                anchors.rightMargin: Theme.m
                spacing: Theme.m
                Label {
                    objectName: "chatTitle"
                    text: chat.title
                    font.pixelSize: Theme.title
                    font.weight: Font.DemiBold
                    elide: Text.ElideRight
                    // Its whole width while there is room, elided when the header is narrow.
                    Layout.preferredWidth: implicitWidth
                    Layout.minimumWidth: Math.min(implicitWidth, 80)
                    Accessible.role: Accessible.Heading
                    Accessible.name: text
                }
                ConnectionIndicator {
                    objectName: "connectionIndicator"
                    online: chat.online
                    label: chat.indicatorLabel
                    help: chat.indicatorHelp
                }
                Item { Layout.fillWidth: true }
                IconButton {
                    objectName: "searchButton"
                    symbol: "magnifyingglass"
                    help: "Cerca nella chat (Ctrl+F)"
                    checkable: false
                    onClicked: view.searchOpen ? view.closeSearch() : view.openSearch()
                }
            }
            Rectangle {
                anchors.bottom: parent.bottom
                width: parent.width
                height: 1
                color: Theme.separator
            }
        }

        SearchBar {
            id: searchBar
            objectName: "searchBar"
            visible: view.searchOpen
            chat: chat
            listAtEnd: messageList.atEnd
            Layout.fillWidth: true
            onCloseRequested: view.closeSearch()
            onToEndRequested: messageList.toEnd()
        }

        MessageList {
            id: messageList
            objectName: "messageListView"
            chat: chat
            searching: view.searchOpen
            Layout.fillWidth: true
            Layout.fillHeight: true
            onActionsRequested: (rowID, source, x, y) => view.openActions(rowID, source, x, y)
        }

        ConnectionBanner {
            objectName: "connectionBanner"
            text: chat.bannerText
            offline: chat.bannerOffline
            offersRetry: chat.bannerOffersRetry
            Layout.fillWidth: true
            onRetryRequested: chat.retryNow()
        }

        Composer {
            id: composer
            objectName: "composer"
            chat: chat
            Layout.fillWidth: true
            // One's own new message is always shown.
            onSent: Qt.callLater(messageList.toEnd)
        }
    }

    // ---- Message actions ------------------------------------------------------------------------

    Menu {
        id: actionsMenu
        objectName: "actionsMenu"
    }
    Component {
        id: menuEntry
        MenuItem {
            property string actionID
            property string symbol
            property string rowID
            property Item source
            icon.source: symbol.length > 0 ? "icons/" + symbol + ".svg" : ""
            icon.color: Theme.text
            icon.width: 16
            icon.height: 16
            Accessible.name: text
            onTriggered: view.runAction(actionID, rowID, source)
        }
    }

    Popup {
        id: reactionPalette
        objectName: "reactionPalette"
        property string rowID
        padding: Theme.xs
        focus: true
        background: Rectangle {
            radius: Theme.radiusCard
            color: Theme.surface
            border.color: Theme.separator
        }
        contentItem: Row {
            spacing: 2
            Repeater {
                model: chat.palette()
                delegate: AbstractButton {
                    id: emojiButton
                    required property string modelData
                    required property int index
                    objectName: "paletteEmoji"
                    focus: index === 0
                    hoverEnabled: true
                    implicitWidth: 36
                    implicitHeight: 36
                    Accessible.role: Accessible.Button
                    Accessible.name: modelData
                    onClicked: {
                        chat.react(reactionPalette.rowID, modelData)
                        reactionPalette.close()
                    }
                    Keys.onLeftPressed: nextItemInFocusChain(false).forceActiveFocus()
                    Keys.onRightPressed: nextItemInFocusChain(true).forceActiveFocus()
                    contentItem: Label {
                        text: emojiButton.modelData
                        font.pixelSize: Theme.title
                        horizontalAlignment: Text.AlignHCenter
                        verticalAlignment: Text.AlignVCenter
                    }
                    background: Rectangle {
                        radius: Theme.radiusControl
                        color: emojiButton.down ? Theme.separator
                                                : (emojiButton.hovered ? Theme.hover : "transparent")
                        border.width: emojiButton.visualFocus ? Theme.focusRing : 0
                        border.color: Theme.accent
                    }
                }
            }
        }
    }

    Dialog {
        id: deleteDialog
        objectName: "deleteDialog"
        property string rowID
        parent: Overlay.overlay
        anchors.centerIn: parent
        modal: true
        width: Math.min(420, view.width - 2 * Theme.xl)
        title: "Eliminare il messaggio per tutti?"
        onOpened: cancelDelete.forceActiveFocus()
        onAccepted: chat.deleteForEveryone(rowID)

        Label {
            width: parent.width
            text: "Al suo posto tutti vedranno «Messaggio eliminato»."
            wrapMode: Text.WordWrap
        }
        footer: DialogButtonBox {
            Button {
                id: cancelDelete
                objectName: "cancelDeleteButton"
                text: "Annulla"
                Accessible.name: text
                DialogButtonBox.buttonRole: DialogButtonBox.RejectRole
            }
            Button {
                id: confirmDelete
                objectName: "confirmDeleteButton"
                text: "Elimina per tutti"
                Accessible.name: text
                DialogButtonBox.buttonRole: DialogButtonBox.AcceptRole
                contentItem: Label {
                    text: confirmDelete.text
                    color: Theme.destructive
                    font.weight: Font.DemiBold
                    horizontalAlignment: Text.AlignHCenter
                    verticalAlignment: Text.AlignVCenter
                }
            }
        }
    }

    MessageInfo {
        id: messageInfo
        objectName: "messageInfo"
        chat: chat
        parent: Overlay.overlay
        anchors.centerIn: parent
    }

    Dialog {
        id: alertDialog
        objectName: "alertDialog"
        property string message
        parent: Overlay.overlay
        anchors.centerIn: parent
        modal: true
        width: Math.min(420, view.width - 2 * Theme.xl)
        onOpened: alertOk.forceActiveFocus()
        footer: DialogButtonBox {
            Button {
                id: alertOk
                objectName: "alertOkButton"
                text: "OK"
                Accessible.name: text
                DialogButtonBox.buttonRole: DialogButtonBox.AcceptRole
            }
        }
        Label {
            objectName: "alertText"
            width: parent.width
            text: alertDialog.message
            wrapMode: Text.WordWrap
        }
    }
}
