import QtQuick
import QtQuick.Controls
import QtQuick.Layouts
import Brevio

// Writing a message: the reply or edit strip, a field that grows from one line to eight and then
// scrolls, the send button, and the too-long line. Enter sends; Alt+Enter and Shift+Enter break
// the line; Esc drops the reply or the edit.
Rectangle {
    id: composer

    property ChatViewModel chat
    readonly property alias field: field

    // A new message went out (not an edit).
    signal sent()

    function focusField() { field.forceActiveFocus() }
    function submit() {
        const editing = chat.editing
        if (chat.submit() && !editing)
            composer.sent()
    }

    // The field shows the model's draft whenever the model replaces it (another conversation,
    // an edit begun or ended, a message sent); what the user types goes back as the draft.
    property bool taking: false
    function takeDraft() {
        taking = true
        field.text = chat ? chat.draft : ""
        field.cursorPosition = field.length
        taking = false
    }
    Connections {
        target: composer.chat
        function onDraftReplaced() { composer.takeDraft() }
    }
    Component.onCompleted: takeDraft()

    function breakLine() {
        if (field.selectedText.length > 0)
            field.remove(field.selectionStart, field.selectionEnd)
        field.insert(field.cursorPosition, "\n")
    }

    color: Theme.surface
    implicitHeight: column.implicitHeight + 2 * Theme.s

    Rectangle { width: parent.width; height: 1; color: Theme.separator }

    FontMetrics { id: metrics; font: field.font }

    ColumnLayout {
        id: column
        anchors.fill: parent
        anchors.leftMargin: Theme.l
        anchors.rightMargin: Theme.l
        anchors.topMargin: Theme.s
        anchors.bottomMargin: Theme.s
        spacing: Theme.xs

        // Replying to a message.
        RowLayout {
            objectName: "replyStrip"
            visible: composer.chat && composer.chat.replying
            spacing: Theme.s
            Layout.fillWidth: true
            Icon {
                symbol: "arrowshape.turn.up.left.fill"
                color: Theme.accentText
                sourceSize.width: 14
                sourceSize.height: 14
            }
            Label {
                objectName: "replyText"
                text: composer.chat ? composer.chat.replyText : ""
                color: Theme.accentText
                font.pixelSize: Theme.secondary
                font.weight: Font.DemiBold
                elide: Text.ElideRight
                Layout.fillWidth: true
            }
            IconButton {
                objectName: "cancelReplyButton"
                symbol: "xmark.circle.fill"
                help: "Annulla la risposta"
                implicitWidth: 24
                implicitHeight: 24
                onClicked: {
                    composer.chat.cancelComposer()
                    composer.focusField()
                }
            }
        }

        // Editing one's own message.
        RowLayout {
            objectName: "editStrip"
            visible: composer.chat && composer.chat.editing
            spacing: Theme.s
            Layout.fillWidth: true
            Icon {
                symbol: "pencil"
                color: Theme.accentText
                sourceSize.width: 14
                sourceSize.height: 14
            }
            Label {
                text: "Modifica messaggio"
                color: Theme.accentText
                font.pixelSize: Theme.secondary
                font.weight: Font.DemiBold
                Layout.fillWidth: true
            }
            TextButton {
                objectName: "cancelEditButton"
                text: "Annulla (Esc)"
                onClicked: {
                    composer.chat.cancelComposer()
                    composer.focusField()
                }
            }
        }

        RowLayout {
            spacing: Theme.s
            Layout.fillWidth: true

            Rectangle {
                id: frame
                radius: Theme.radiusControl
                color: Theme.window
                border.width: field.activeFocus ? Theme.focusRing : 1
                border.color: field.activeFocus ? Theme.accent : Theme.fieldBorder
                Layout.fillWidth: true
                Layout.alignment: Qt.AlignBottom
                // One line to eight, then the field scrolls.
                Layout.preferredHeight: Math.min(field.implicitHeight,
                                                 8 * metrics.lineSpacing + field.topPadding
                                                 + field.bottomPadding)

                ScrollView {
                    id: scroll
                    anchors.fill: parent
                    anchors.margins: 1
                    clip: true

                    TextArea {
                        id: field
                        objectName: "composerField"
                        placeholderText: composer.chat ? composer.chat.placeholder : ""
                        placeholderTextColor: Theme.secondaryText
                        textFormat: TextEdit.PlainText
                        wrapMode: TextEdit.Wrap
                        selectByMouse: true
                        color: Theme.text
                        font.pixelSize: Theme.body
                        topPadding: 7
                        bottomPadding: 7
                        leftPadding: Theme.s + 2
                        rightPadding: Theme.s + 2
                        background: null
                        Accessible.name: composer.chat ? composer.chat.placeholder : ""
                        onTextChanged: if (!composer.taking && composer.chat) composer.chat.draft = text
                        Keys.onPressed: (event) => {
                            if (event.key === Qt.Key_Return || event.key === Qt.Key_Enter) {
                                if (event.modifiers & (Qt.AltModifier | Qt.ShiftModifier))
                                    composer.breakLine()
                                else
                                    composer.submit()
                                event.accepted = true
                            } else if (event.key === Qt.Key_Escape
                                       && (composer.chat.editing || composer.chat.replying)) {
                                composer.chat.cancelComposer()
                                event.accepted = true
                            } else if (event.key === Qt.Key_Tab || event.key === Qt.Key_Backtab) {
                                // Tab moves on, as everywhere else; a message has no tabs.
                                field.nextItemInFocusChain(event.key === Qt.Key_Tab).forceActiveFocus(
                                    event.key === Qt.Key_Tab ? Qt.TabFocusReason : Qt.BacktabFocusReason)
                                event.accepted = true
                            }
                        }
                    }
                }
            }

            AbstractButton {
                id: send
                objectName: "sendButton"
                readonly property bool editing: composer.chat && composer.chat.editing
                enabled: composer.chat && composer.chat.canSubmit
                hoverEnabled: true
                opacity: enabled ? 1 : 0.4
                Behavior on opacity { NumberAnimation { duration: Theme.quick } }
                implicitWidth: 34
                implicitHeight: 34
                Layout.alignment: Qt.AlignBottom
                Accessible.role: Accessible.Button
                Accessible.name: editing ? "Salva la modifica" : "Invia"
                Accessible.description: composer.chat ? composer.chat.submitHelp : ""
                ToolTip.visible: hovered
                ToolTip.delay: 600
                ToolTip.text: composer.chat ? composer.chat.submitHelp : ""
                onClicked: {
                    composer.submit()
                    composer.focusField()
                }
                background: Rectangle {
                    radius: width / 2
                    color: Theme.badge // white on it stays above 4.5:1 in both themes
                    opacity: send.down ? 0.85 : 1
                    border.width: send.visualFocus ? Theme.focusRing : 0
                    border.color: Theme.text
                }
                contentItem: Item {
                    Icon {
                        anchors.centerIn: parent
                        symbol: send.editing ? "checkmark" : "arrow.up"
                        color: Theme.ownText
                        sourceSize.width: 18
                        sourceSize.height: 18
                    }
                }
            }
        }

        Label {
            objectName: "tooLongText"
            visible: text.length > 0
            text: composer.chat ? composer.chat.tooLongText : ""
            color: Theme.destructive
            font.pixelSize: Theme.secondary
            Layout.fillWidth: true
            Accessible.role: Accessible.AlertMessage
            Accessible.name: text
        }
    }
}
