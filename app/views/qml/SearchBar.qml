import QtQuick
import QtQuick.Controls
import QtQuick.Layouts
import Brevio

// Searching the loaded messages: the query, where the current match is, stepping older (Enter)
// and newer, loading older pages, and back to the newest messages.
Rectangle {
    id: bar

    property ChatViewModel chat
    // The list is at its newest end.
    property bool listAtEnd: true

    signal closeRequested()
    // The current match changed at the user's request: show it.
    // Older messages were asked for: show the match they bring.
    signal toEndRequested()

    function focusField() {
        field.forceActiveFocus()
        field.selectAll()
    }

    implicitHeight: row.implicitHeight + 2 * Theme.s
    color: Theme.surface
    Accessible.role: Accessible.ToolBar
    Accessible.name: "Cerca nella chat"
    Keys.onEscapePressed: bar.closeRequested()

    Rectangle {
        anchors.bottom: parent.bottom
        width: parent.width
        height: 1
        color: Theme.separator
    }

    Connections {
        target: bar.chat
        function onSearchChanged() {
            if (field.text !== bar.chat.searchQuery)
                field.text = bar.chat.searchQuery
        }
    }

    RowLayout {
        id: row
        anchors.fill: parent
        anchors.leftMargin: Theme.l
        anchors.rightMargin: Theme.m
        anchors.topMargin: Theme.s
        anchors.bottomMargin: Theme.s
        spacing: Theme.xs

        TextField {
            id: field
            objectName: "searchField"
            placeholderText: "Cerca nella chat"
            selectByMouse: true
            leftPadding: Theme.s + 20
            rightPadding: Theme.s
            Layout.fillWidth: true
            Layout.minimumWidth: 120
            Accessible.name: "Cerca nella chat"
            onTextEdited: bar.chat.searchQuery = text
            // Enter steps to the older match, like the button beside it.
            onAccepted: up.clicked()
            background: Rectangle {
                implicitHeight: 30
                radius: Theme.radiusControl
                color: Theme.window
                border.width: field.activeFocus ? Theme.focusRing : 1
                border.color: field.activeFocus ? Theme.accent : Theme.fieldBorder
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
        Label {
            objectName: "searchStatus"
            text: bar.chat ? bar.chat.searchStatus : ""
            visible: text.length > 0
            color: Theme.secondaryText
            font.pixelSize: Theme.secondary
            Layout.leftMargin: Theme.xs
            Layout.rightMargin: Theme.xs
            Accessible.role: Accessible.StaticText
            Accessible.name: text
        }
        IconButton {
            id: up
            objectName: "previousMatchButton"
            symbol: "chevron.up"
            help: "Precedente (Invio)"
            enabled: bar.chat && bar.chat.matchCount > 0
            onClicked: bar.chat.previousMatch()
        }
        IconButton {
            objectName: "nextMatchButton"
            symbol: "chevron.down"
            help: "Successivo"
            enabled: bar.chat && bar.chat.matchCount > 0
            onClicked: bar.chat.nextMatch()
        }
        TextButton {
            objectName: "searchOlderButton"
            visible: bar.chat && bar.chat.hasOlder
            enabled: bar.chat && !bar.chat.loadingOlder
            text: "Cerca più indietro"
            onClicked: bar.chat.searchOlder()
        }
        TextButton {
            objectName: "backToNewestButton"
            visible: !bar.listAtEnd
            text: "Torna ai messaggi più recenti"
            onClicked: bar.toEndRequested()
        }
        TextButton {
            objectName: "searchDoneButton"
            text: "Fine"
            onClicked: bar.closeRequested()
        }
    }
}
