import QtQuick
import QtQuick.Controls
import Brevio

// The conversation's rows, newest at the bottom: a bottom-to-top list over the rows newest first,
// so it rests at the newest message and an older page lands at the far end without moving what
// is on screen. The typing row sits below the newest message, the start of the conversation (or
// the button for older messages) above the oldest.
Item {
    id: root

    property ChatViewModel chat
    // While the search bar is open its own button brings the list back.
    property bool searching: false
    // Messages of others that came in while the list was away from its end.
    property int newCount: 0
    // "Cerca più indietro" was pressed: show the match the older page brings.
    readonly property bool atEnd: list.count === 0 || list.atYEnd

    // The context menu for a row, at a point of `source`.
    signal actionsRequested(string rowID, Item source, real x, real y)

    function toEnd() {
        list.positionViewAtBeginning()
        root.newCount = 0
        root.noteNewestShown()
    }
    function showRow(row) {
        if (row >= 0 && row < list.count)
            list.positionViewAtIndex(row, ListView.Center)
    }
    function showCurrentMatch() { showRow(chat.currentMatchRow) }
    // Where an opened conversation starts: its unread separator near the top, or the end.
    function land() {
        if (chat.unreadRow >= 0)
            list.positionViewAtIndex(chat.unreadRow, ListView.End)
        else
            list.positionViewAtBeginning()
        root.newCount = 0
        root.noteNewestShown()
    }
    function noteNewestShown() {
        if (root.atEnd && root.visible && chat && chat.conversationID.length > 0)
            chat.newestShown()
    }
    function openActionsOfCurrent() {
        const item = list.currentItem
        if (item && item.bubble)
            item.bubble.openActions()
    }

    onAtEndChanged: {
        if (atEnd) {
            newCount = 0
            noteNewestShown()
        }
    }
    Component.onCompleted: Qt.callLater(land)

    Connections {
        target: root.chat
        function onConversationChanged() { Qt.callLater(root.land) }
    }
    // Another match is looked at (typed, stepped to, or found further back): show it.
    Connections {
        target: root.chat
        function onCurrentMatchChanged() { Qt.callLater(root.showCurrentMatch) }
    }
    Connections {
        target: root.chat ? root.chat.messages : null
        function onNewestInserted(count) {
            if (!root.atEnd)
                root.newCount += count
        }
        function onRowsInserted(parent, first, last) {
            if (first === 0)
                Qt.callLater(root.noteNewestShown)
        }
    }

    ListView {
        id: list
        objectName: "messageList"
        anchors.fill: parent
        clip: true
        model: root.chat ? root.chat.messages : null
        verticalLayoutDirection: ListView.BottomToTop
        reuseItems: true
        boundsBehavior: Flickable.StopAtBounds
        currentIndex: -1
        keyNavigationEnabled: true
        activeFocusOnTab: true
        highlightFollowsCurrentItem: false
        cacheBuffer: 600
        Accessible.role: Accessible.List
        Accessible.name: "Messaggi"

        ScrollBar.vertical: ScrollBar { policy: ScrollBar.AsNeeded }

        // The keyboard is on the list itself, not on the words of a message being selected.
        readonly property bool keyboardOn: activeFocus && Window.activeFocusItem === list

        // From the keyboard the arrows walk the messages; the menu key opens a message's actions.
        onKeyboardOnChanged: {
            if (keyboardOn && currentIndex < 0 && count > 0) {
                const bottom = indexAt(width / 2, contentY + height - Theme.l)
                currentIndex = bottom >= 0 ? bottom : 0
            }
        }
        Keys.onPressed: (event) => {
            if (event.key === Qt.Key_Menu || (event.key === Qt.Key_F10
                                              && (event.modifiers & Qt.ShiftModifier))) {
                root.openActionsOfCurrent()
                event.accepted = true
            } else if (event.key === Qt.Key_Return || event.key === Qt.Key_Enter) {
                const item = currentItem
                if (item && item.bubble && item.bubble.hasQuote) {
                    root.showRow(root.chat.rowOfSeq(item.bubble.quote.seq))
                    event.accepted = true
                }
            } else if (event.key === Qt.Key_End) {
                root.toEnd()
                event.accepted = true
            }
        }

        // Reaching the top of what is loaded asks for the page before it.
        onAtYBeginningChanged: {
            if (atYBeginning && contentHeight > height && root.chat && root.chat.hasOlder
                    && !root.chat.loadingOlder)
                root.chat.loadOlder()
        }

        header: TypingRow {
            objectName: "typingRow"
            width: list.width
            text: root.chat ? root.chat.typingText : ""
            onTextChanged: if (root.atEnd) Qt.callLater(list.positionViewAtBeginning)
        }

        footer: Item {
            width: list.width
            height: root.chat && (!root.chat.isEmpty || root.chat.hasOlder)
                    ? topColumn.implicitHeight + 2 * Theme.l : 0
            Column {
                id: topColumn
                anchors.centerIn: parent
                visible: parent.height > 0
                Label {
                    objectName: "conversationStart"
                    visible: !root.chat.hasOlder
                    anchors.horizontalCenter: parent.horizontalCenter
                    text: "Inizio della conversazione"
                    color: Theme.secondaryText
                    font.pixelSize: Theme.secondary
                }
                Row {
                    visible: root.chat.hasOlder
                    spacing: Theme.s
                    anchors.horizontalCenter: parent.horizontalCenter
                    TextButton {
                        objectName: "loadOlderButton"
                        text: "Carica i messaggi precedenti"
                        enabled: !root.chat.loadingOlder
                        onClicked: root.chat.loadOlder()
                    }
                    BusyIndicator {
                        running: root.chat.loadingOlder
                        visible: running
                        width: 24
                        height: 24
                    }
                }
            }
        }

        delegate: Item {
            id: row

            required property int index
            required property string kind
            required property string rowID
            required property string separator
            required property string text
            required property string richText
            required property string author
            required property string authorID
            required property bool mine
            required property bool showsAuthor
            required property bool continues
            required property string time
            required property string delivery
            required property string deliveryText
            required property string deliverySymbol
            required property bool showsStatus
            required property string failure
            required property bool pending
            required property bool edited
            required property bool deleted
            required property string deletedText
            required property var quote
            required property var reactions
            required property bool currentMatch

            readonly property bool isMessage: kind === "message"
            readonly property MessageBubble bubble: isMessage ? messageBubble : null

            width: ListView.view.width
            height: isMessage ? messageBubble.implicitHeight
                              : separatorLoader.item ? separatorLoader.item.implicitHeight : 0

            // Nearly every row is a message: its bubble is part of the row, and the rare
            // separator row leaves it hidden and loads its separator.
            MessageBubble {
                id: messageBubble
                objectName: "messageBubble"
                visible: row.isMessage
                width: parent.width
                chat: root.chat
                isGroup: root.chat.isGroup
                isCurrent: row.ListView.isCurrentItem && list.keyboardOn
                rowID: row.rowID
                text: row.text
                richText: row.richText
                author: row.author
                authorID: row.authorID
                mine: row.mine
                showsAuthor: row.showsAuthor
                continues: row.continues
                time: row.time
                delivery: row.delivery
                deliveryText: row.deliveryText
                deliverySymbol: row.deliverySymbol
                showsStatus: row.showsStatus
                failure: row.failure
                edited: row.edited
                deleted: row.deleted
                deletedText: row.deletedText
                quote: row.quote
                reactions: row.reactions
                currentMatch: row.currentMatch
                onActionsRequested: (source, x, y) => root.actionsRequested(row.rowID, source, x, y)
                onQuoteActivated: (seq) => root.showRow(root.chat.rowOfSeq(seq))
            }
            Loader {
                id: separatorLoader
                // What the separator shows.
                readonly property string separator: row.separator
                active: !row.isMessage
                width: parent.width
                sourceComponent: row.kind === "day" ? daySeparator : unreadSeparator
            }
        }
    }

    // The separator rows' contents, made in their row's loader.
    Component {
        id: daySeparator
        DaySeparator { objectName: "daySeparator"; text: parent ? parent.separator : "" }
    }
    Component {
        id: unreadSeparator
        UnreadSeparator { objectName: "unreadSeparator"; text: parent ? parent.separator : "" }
    }

    // An empty conversation: a symbol, what it is, what to do.
    Column {
        objectName: "emptyState"
        visible: root.chat && root.chat.conversationID.length > 0 && root.chat.isEmpty
                 && !root.chat.hasOlder
        anchors.centerIn: parent
        width: Math.min(parent.width - 2 * Theme.xl, 420)
        spacing: Theme.s
        Icon {
            anchors.horizontalCenter: parent.horizontalCenter
            symbol: "bubble.left.and.bubble.right"
            color: Theme.secondaryText
            sourceSize.width: 40
            sourceSize.height: 40
        }
        Label {
            objectName: "emptyTitle"
            width: parent.width
            horizontalAlignment: Text.AlignHCenter
            text: "Ancora nessun messaggio"
            color: Theme.secondaryText
            font.pixelSize: Theme.title
            font.weight: Font.DemiBold
        }
        Label {
            objectName: "emptyHint"
            width: parent.width
            horizontalAlignment: Text.AlignHCenter
            wrapMode: Text.WordWrap
            text: root.chat ? root.chat.emptyHint : ""
            color: Theme.secondaryText
        }
    }

    ToBottomButton {
        objectName: "toBottomButton"
        anchors.right: parent.right
        anchors.bottom: parent.bottom
        anchors.margins: Theme.l
        shown: !root.atEnd && (!root.searching || root.newCount > 0)
        text: root.chat ? root.chat.toBottomText(root.newCount) : ""
        onClicked: root.toEnd()
    }
}
