import QtQuick
import QtQuick.Controls
import QtQuick.Layouts
import Brevio

// The staff's conversations: the toolbar (new group, invite, the inspector), the filter, the
// search and the list, or the empty state the list's model names. Up and Down move through the
// list, Enter opens, Ctrl+F goes to the search while the focus is here.
FocusScope {
    id: view

    property AppModel app
    readonly property ConversationListModel list: list

    function focusSearch() {
        search.forceActiveFocus()
        search.selectAll()
    }
    function open(conversationID) {
        if (view.app && conversationID.length > 0)
            view.app.selectConversation(conversationID)
    }

    ConversationListModel {
        id: list
        app: view.app
    }

    Shortcut {
        sequence: "Ctrl+Shift+N"
        context: Qt.WindowShortcut
        enabled: view.visible && view.app !== null
        onActivated: view.app.isNewGroupRequested = true
    }
    Shortcut {
        sequence: "Ctrl+N"
        context: Qt.WindowShortcut
        enabled: view.visible && view.app !== null
        onActivated: view.app.isInviteSheetPresented = true
    }

    // With no chat open, Ctrl+F from anywhere in the window searches the list.
    Shortcut {
        sequence: "Ctrl+F"
        context: Qt.WindowShortcut
        enabled: view.visible && view.app !== null && view.app.selectedConversationID.length === 0
        onActivated: view.focusSearch()
    }
    // Ctrl+F belongs to the list's search while the focus is in this pane, not to the chat's.
    Keys.onShortcutOverride: (event) => {
        if (event.key === Qt.Key_F && (event.modifiers & Qt.ControlModifier))
            event.accepted = true
    }
    Keys.onPressed: (event) => {
        if (event.key === Qt.Key_F && (event.modifiers & Qt.ControlModifier)) {
            view.focusSearch()
            event.accepted = true
        }
    }

    Rectangle {
        anchors.fill: parent
        color: Theme.surface
    }

    ColumnLayout {
        anchors.fill: parent
        spacing: Theme.s

        RowLayout {
            spacing: Theme.xs
            Layout.fillWidth: true
            Layout.leftMargin: Theme.margin
            Layout.rightMargin: Theme.s
            Layout.topMargin: Theme.m

            Label {
                text: view.app ? view.app.organization : ""
                font.pixelSize: Theme.title
                font.weight: Font.DemiBold
                color: Theme.text
                elide: Text.ElideRight
                Layout.fillWidth: true
                Accessible.role: Accessible.Heading
                Accessible.name: text
            }
            IconButton {
                objectName: "newGroupButton"
                symbol: "person.3"
                help: "Crea un gruppo con colleghi e clienti (Ctrl+Shift+N)"
                Accessible.name: "Nuovo gruppo"
                Accessible.description: help
                onClicked: view.app.isNewGroupRequested = true
            }
            IconButton {
                objectName: "inviteButton"
                symbol: "person.badge.plus"
                help: "Crea un codice di invito per un cliente (Ctrl+N)"
                Accessible.name: "Invita cliente"
                Accessible.description: help
                onClicked: view.app.isInviteSheetPresented = true
            }
            IconButton {
                objectName: "inspectorButton"
                symbol: "sidebar.right"
                help: list.inspectorHelp
                // Follows the model, whoever changes it.
                readonly property bool shown: view.app ? view.app.showsInspector : false
                symbolColor: shown ? Theme.accentText : Theme.secondaryText
                Accessible.name: "Scheda"
                Accessible.description: help
                Accessible.checkable: true
                Accessible.checked: shown
                onClicked: view.app.showsInspector = !shown
            }
        }

        SegmentedPicker {
            objectName: "filterPicker"
            labels: list.filterLabels
            current: list.filter
            onPicked: (index) => list.filter = index
            Layout.fillWidth: true
            Layout.leftMargin: Theme.margin
            Layout.rightMargin: Theme.margin
        }

        TextField {
            id: search
            objectName: "listSearchField"
            placeholderText: list.searchPrompt
            selectByMouse: true
            leftPadding: Theme.s + 20
            rightPadding: Theme.s
            Layout.fillWidth: true
            Layout.leftMargin: Theme.margin
            Layout.rightMargin: Theme.margin
            Accessible.role: Accessible.EditableText
            Accessible.name: list.searchPrompt
            onTextChanged: list.search = text
            Keys.onEscapePressed: text = ""
            Keys.onDownPressed: {
                conversations.forceActiveFocus()
                if (conversations.count > 0 && conversations.currentIndex < 0)
                    conversations.currentIndex = 0
            }
            onAccepted: {
                if (conversations.count > 0)
                    view.open(list.idAt(Math.max(0, conversations.currentIndex)))
            }
            background: Rectangle {
                implicitHeight: 30
                radius: Theme.radiusControl
                color: Theme.window
                border.width: search.activeFocus ? Theme.focusRing : 1
                border.color: search.activeFocus ? Theme.accent : Theme.fieldBorder
                Icon {
                    anchors.left: parent.left
                    anchors.leftMargin: Theme.s
                    anchors.verticalCenter: parent.verticalCenter
                    symbol: "magnifyingglass"
                    color: Theme.secondaryText
                    sourceSize.width: 14
                    sourceSize.height: 14
                }
            }
        }

        Item {
            Layout.fillWidth: true
            Layout.fillHeight: true

            ListView {
                id: conversations
                objectName: "conversationList"
                anchors.fill: parent
                anchors.leftMargin: Theme.s
                anchors.rightMargin: Theme.s
                clip: true
                model: list
                visible: !list.isEmpty
                spacing: 2
                focus: true
                activeFocusOnTab: true
                keyNavigationEnabled: true
                currentIndex: -1
                boundsBehavior: Flickable.StopAtBounds
                reuseItems: true
                Accessible.role: Accessible.List
                Accessible.name: "Conversazioni"
                ScrollBar.vertical: ScrollBar { }

                // The open conversation is the keyboard's starting place.
                Connections {
                    target: list
                    function onSelectionChanged() {
                        if (list.selectedRow >= 0)
                            conversations.currentIndex = list.selectedRow
                    }
                }
                function takeStartingRow() {
                    if (activeFocus && currentIndex < 0 && count > 0)
                        currentIndex = Math.max(0, list.selectedRow)
                }
                onActiveFocusChanged: takeStartingRow()
                // The focus may come before the rows (just after signing in).
                onCountChanged: takeStartingRow()
                Keys.onReturnPressed: view.open(list.idAt(currentIndex))
                Keys.onEnterPressed: view.open(list.idAt(currentIndex))
                Keys.onSpacePressed: view.open(list.idAt(currentIndex))

                delegate: ConversationRow {
                    width: ListView.view.width
                    serverOrigin: view.app ? view.app.serverOrigin : ""
                    current: ListView.isCurrentItem
                    onOpened: (id) => {
                        conversations.currentIndex = index
                        view.open(id)
                    }
                }
            }

            EmptyStateView {
                objectName: "listEmptyState"
                anchors.fill: parent
                visible: list.isEmpty
                symbol: list.emptySymbol
                title: list.emptyTitle
                text: list.emptyText
                detail: list.emptyDetail

                TextButton {
                    visible: list.emptyOffersInvite
                    text: "Invita cliente"
                    onClicked: view.app.isInviteSheetPresented = true
                }
            }
        }
    }
}
