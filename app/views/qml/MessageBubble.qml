import QtQuick
import QtQuick.Controls
import QtQuick.Layouts
import Brevio

// One message of the list: one's own on the right, others' on the left, with the author's name,
// the quoted message, the text, the time and ticks, a failed message's buttons and the reactions.
//
// A long conversation scrolls through hundreds of these a second, and every item of every row on
// screen is visited each time the list moves: the bubble is laid out by hand, without positioners,
// and what most messages do not show (a quote, the deleted line, a failure, reactions, the actions
// button, the focus ring) is made only for the rows that show it.
Item {
    id: bubble

    property ChatViewModel chat
    property bool isGroup: false
    // The list's keyboard selection is on this row.
    property bool isCurrent: false

    property string rowID
    property string text
    property string richText
    property string author
    property string authorID
    property bool mine: false
    property bool showsAuthor: false
    property bool continues: false
    property string time
    property string delivery
    property string deliveryText
    property string deliverySymbol
    property bool showsStatus: false
    property string failure
    property bool edited: false
    property bool deleted: false
    property string deletedText
    property var quote
    property var reactions: []
    property bool currentMatch: false

    // The context menu for this message, at a point of `source`.
    signal actionsRequested(Item source, real x, real y)
    // The quoted message's seq ("Vai al messaggio").
    signal quoteActivated(string seq)

    readonly property bool hasQuote: !deleted && !!quote && quote.seq !== undefined
    readonly property bool hasAvatarSlot: isGroup && !mine
    readonly property bool showsAuthorLabel: showsAuthor && !mine
    readonly property bool hasReactions: !deleted && !!reactions && reactions.length > 0
    readonly property real avatarOffset: hasAvatarSlot ? Theme.avatarBubble + Theme.s : 0
    readonly property real maxBodyWidth: Math.max(120, Math.min(width * Theme.bubbleWidthRatio,
                                                                Theme.bubbleMaxWidth))
    readonly property real innerMax: maxBodyWidth - 2 * Theme.bubblePadding
    readonly property color textColor: mine ? Theme.ownText : Theme.otherText
    readonly property color metaColor: mine ? Theme.ownMeta : Theme.otherMeta
    readonly property alias hovered: hover.hovered

    // The column the bubble and what hangs under it stand in, beside the avatar slot.
    readonly property real stackX: Theme.l + avatarOffset
    readonly property real stackWidth: width - 2 * Theme.l - avatarOffset

    // The text's widest line, measured apart from the laid-out text so that the width the text
    // gets does not feed back into it.
    readonly property real textNatural: {
        if (deleted)
            return deletedLoader.width
        if (text.indexOf("\n") < 0)
            return Math.ceil(bodyMetrics.advanceWidth(text)) + 2
        let widest = 0
        for (const line of text.split("\n"))
            widest = Math.max(widest, bodyMetrics.advanceWidth(line))
        return Math.ceil(widest) + 2
    }
    // The time (with "modificato" and the ticks) beside a short one-line text, under anything
    // longer.
    readonly property real metaWidth: (editedLabel.visible ? editedLabel.implicitWidth + Theme.xs : 0)
                                      + timeLabel.implicitWidth
                                      + (ticks.visible ? Theme.xs + ticks.width : 0)
    readonly property real metaHeight: Math.max(timeLabel.implicitHeight,
                                                ticks.visible ? ticks.height : 0)
    readonly property bool metaInline: textNatural + Theme.s + metaWidth <= innerMax
                                       && (deleted || text.indexOf("\n") < 0)
    readonly property real textWidth: metaInline ? textNatural : Math.min(textNatural, innerMax)
    readonly property real textHeight: deleted ? deletedLoader.height : messageText.height
    readonly property real contentWidth: Math.min(innerMax, Math.max(
        showsAuthorLabel ? Math.ceil(authorMetrics.advanceWidth) + 2 : 0,
        quoteLoader.item ? quoteLoader.item.implicitWidth : 0,
        metaInline ? textNatural + Theme.s + metaWidth : Math.max(textWidth, metaWidth)))
    // Where the text starts inside the bubble: under the author's name and the quote.
    readonly property real textTop: quoteLoader.item ? quoteLoader.y + quoteLoader.height + Theme.xs
                                  : showsAuthorLabel ? authorLabel.y + authorLabel.height + Theme.xs
                                  : contentTop
    readonly property real textRowHeight: metaInline ? Math.max(textHeight, metaHeight)
                                                     : textHeight + metaHeight
    readonly property real contentTop: Theme.bubblePadding - 3

    // Under the bubble: a failed message's line, then the reactions.
    readonly property real failureBottom: failureLoader.item ? failureLoader.y + failureLoader.height
                                                             : body.height
    readonly property real stackHeight: reactionsLoader.item
                                        ? reactionsLoader.y + reactionsLoader.height : failureBottom

    implicitHeight: stackHeight + (continues ? Theme.runSpacing : Theme.authorSpacing)

    function openActions() { bubble.actionsRequested(body, body.width / 2, body.height / 2) }

    FontMetrics { id: bodyMetrics; font: messageText.font }
    TextMetrics { id: authorMetrics; font: authorLabel.font; text: bubble.author }

    HoverHandler { id: hover }

    // Avatar slot of a group's run: the author's picture beside the run's first bubble.
    Loader {
        objectName: "avatarSlot"
        active: bubble.hasAvatarSlot && bubble.showsAuthor
        x: Theme.l
        y: 0
        width: Theme.avatarBubble
        height: Theme.avatarBubble
        sourceComponent: AvatarView {
            size: Theme.avatarBubble
            name: bubble.author
            userID: bubble.authorID
        }
    }

    BubbleShape {
        id: body
        objectName: "bubbleBody"
        x: bubble.stackX + (bubble.mine ? bubble.stackWidth - width : 0)
        width: bubble.contentWidth + 2 * Theme.bubblePadding
        height: bubble.textTop + bubble.textRowHeight + bubble.contentTop
        isMine: bubble.mine
        cutsCorner: !bubble.continues
        radius: Theme.radiusBubble
        cut: Theme.bubbleCut
        color: bubble.mine ? Theme.ownBubble : Theme.otherBubble
        borderColor: bubble.mine ? Theme.ownBubble : Theme.otherBubbleBorder
        borderWidth: bubble.mine ? 0 : 1

        // The current search match, or the row the keyboard is on.
        Loader {
            active: bubble.currentMatch || bubble.isCurrent
            anchors.fill: parent
            anchors.margins: -3
            sourceComponent: Rectangle {
                objectName: "matchOutline"
                radius: Theme.radiusBubble + 3
                color: "transparent"
                border.width: Theme.focusRing
                border.color: bubble.currentMatch ? Theme.matchOutline : Theme.accent
            }
        }

        Label {
            id: authorLabel
            objectName: "authorLabel"
            visible: bubble.showsAuthorLabel
            x: Theme.bubblePadding
            y: bubble.contentTop
            width: bubble.contentWidth
            text: bubble.author
            color: Theme.accentText
            font.pixelSize: Theme.secondary
            font.weight: Font.DemiBold
            elide: Text.ElideRight
        }

        Loader {
            id: quoteLoader
            active: bubble.hasQuote
            x: Theme.bubblePadding
            y: bubble.showsAuthorLabel ? authorLabel.y + authorLabel.height + Theme.xs
                                       : bubble.contentTop
            width: bubble.contentWidth
            sourceComponent: QuoteView {
                objectName: "quoteView"
                mine: bubble.mine
                title: bubble.hasQuote ? bubble.quote.title : ""
                quotedText: bubble.hasQuote ? bubble.quote.text : ""
                deleted: bubble.hasQuote && bubble.quote.deleted
                onClicked: bubble.quoteActivated(bubble.quote.seq)
            }
        }

        // The words. A Text draws them: it lays out faster than an editor, which matters in a
        // list that makes rows as it scrolls. While the pointer is on the row an editor with the
        // same layout takes its place, so that they can be selected, copied and their links
        // followed; it stays while it holds a selection or the focus.
        Text {
            id: messageText
            objectName: "messageText"
            visible: !bubble.deleted
            opacity: selectable.item ? 0 : 1
            x: Theme.bubblePadding
            y: bubble.textTop
            width: bubble.textWidth
            // Plain unless it has links or search matches to show: plain text lays out faster.
            textFormat: bubble.richText.length > 0 ? Text.RichText : Text.PlainText
            text: bubble.deleted ? "" : bubble.richText.length > 0 ? bubble.richText : bubble.text
            wrapMode: Text.Wrap
            color: bubble.textColor
            font.pixelSize: Theme.body
            Accessible.role: Accessible.StaticText
            Accessible.name: bubble.text
        }
        Loader {
            id: selectable
            // The editor has the focus or a selection.
            property bool holding: false
            active: !bubble.deleted && (bubble.hovered || holding)
            x: messageText.x
            y: messageText.y
            width: messageText.width
            onActiveChanged: if (!active) holding = false
            sourceComponent: TextEdit {
                id: editor
                objectName: "selectableText"
                textFormat: messageText.textFormat === Text.RichText ? TextEdit.RichText
                                                                     : TextEdit.PlainText
                text: messageText.text
                // A change of format rewrites the text (rich to plain leaves the document's HTML
                // in it), whichever of the two bindings ran first: give it the right text again.
                onTextFormatChanged: text = Qt.binding(() => messageText.text)
                wrapMode: TextEdit.Wrap
                readOnly: true
                selectByMouse: true
                color: messageText.color
                selectionColor: bubble.mine ? Theme.ownMeta : Theme.accent
                selectedTextColor: bubble.mine ? Theme.ownBubble : Theme.ownText
                font: messageText.font
                activeFocusOnTab: false
                Accessible.ignored: true
                onLinkActivated: (link) => Qt.openUrlExternally(link)
                // Selecting takes the keyboard, for Ctrl+C; clicking elsewhere then ends the
                // selection.
                onSelectedTextChanged: {
                    if (selectedText.length > 0 && !activeFocus)
                        forceActiveFocus(Qt.MouseFocusReason)
                    selectable.holding = activeFocus || selectedText.length > 0
                }
                onActiveFocusChanged: selectable.holding = activeFocus || selectedText.length > 0

                HoverHandler {
                    cursorShape: editor.hoveredLink.length > 0 ? Qt.PointingHandCursor
                                                              : Qt.IBeamCursor
                }
            }
        }

        Loader {
            id: deletedLoader
            active: bubble.deleted
            x: Theme.bubblePadding
            y: bubble.textTop
            sourceComponent: Row {
                objectName: "deletedRow"
                spacing: Theme.xs
                Icon {
                    anchors.verticalCenter: parent.verticalCenter
                    symbol: "nosign"
                    color: bubble.metaColor
                }
                Label {
                    objectName: "deletedText"
                    // On the row's bottom, like the time beside it: the symbol is taller than
                    // the line.
                    anchors.bottom: parent.bottom
                    text: bubble.deletedText
                    color: bubble.metaColor
                    font.italic: true
                }
            }
        }

        // The time, after "modificato" and before the ticks, at the text row's bottom right.
        Label {
            id: editedLabel
            objectName: "editedLabel"
            visible: bubble.edited && !bubble.deleted
            x: timeLabel.x - Theme.xs - width
            y: timeLabel.y
            text: "modificato"
            color: bubble.metaColor
            font.pixelSize: Theme.small
        }
        Label {
            id: timeLabel
            objectName: "timeLabel"
            x: Theme.bubblePadding + bubble.contentWidth - bubble.metaWidth
               + (editedLabel.visible ? editedLabel.implicitWidth + Theme.xs : 0)
            y: bubble.textTop + bubble.textRowHeight - bubble.metaHeight
               + (bubble.metaHeight - height) / 2
            text: bubble.time
            color: bubble.metaColor
            font.pixelSize: Theme.small
        }
        TicksView {
            id: ticks
            objectName: "ticks"
            visible: bubble.mine && bubble.showsStatus && !bubble.deleted
            x: timeLabel.x + timeLabel.width + Theme.xs
            y: bubble.textTop + bubble.textRowHeight - bubble.metaHeight
               + (bubble.metaHeight - height) / 2
            symbol: bubble.deliverySymbol
            text: bubble.deliveryText
            color: bubble.metaColor
        }

        // Right click anywhere on the bubble; the text keeps the left button for selecting.
        MouseArea {
            anchors.fill: parent
            acceptedButtons: Qt.RightButton
            enabled: !bubble.deleted
            onClicked: (mouse) => bubble.actionsRequested(body, mouse.x, mouse.y)
        }

        // The actions button beside the bubble while the pointer or the keyboard is on the row.
        // The menu opens at the button's place on the bubble, which outlives the button.
        Loader {
            id: moreLoader
            active: !bubble.deleted && (bubble.hovered || bubble.isCurrent)
            width: 26
            height: 26
            x: bubble.mine ? -width - Theme.xs : parent.width + Theme.xs
            y: (parent.height - height) / 2
            sourceComponent: IconButton {
                objectName: "moreButton"
                symbol: "ellipsis"
                help: "Azioni sul messaggio"
                focusPolicy: Qt.NoFocus
                onClicked: bubble.actionsRequested(body, moreLoader.x, moreLoader.y + height)
            }
        }
    }

    // A message that could not be sent: why, and what to do.
    Loader {
        id: failureLoader
        active: bubble.delivery === "failed"
        x: bubble.stackX + bubble.stackWidth - width
        y: body.height + Theme.xs
        width: item ? Math.min(item.implicitWidth, bubble.stackWidth) : 0
        sourceComponent: RowLayout {
            objectName: "failureRow"
            spacing: Theme.xs
            Label {
                objectName: "failureText"
                text: bubble.failure
                color: Theme.destructive
                font.pixelSize: Theme.secondary
                elide: Text.ElideRight
                Layout.fillWidth: true
            }
            TextButton {
                objectName: "retryButton"
                text: "Riprova"
                focusPolicy: Qt.NoFocus
                onClicked: bubble.chat.retry(bubble.rowID)
            }
            TextButton {
                objectName: "discardButton"
                text: "Elimina"
                destructive: true
                focusPolicy: Qt.NoFocus
                onClicked: bubble.chat.discard(bubble.rowID)
            }
        }
    }

    Loader {
        id: reactionsLoader
        active: bubble.hasReactions
        x: bubble.stackX + (bubble.mine ? bubble.stackWidth - width : 0)
        y: bubble.failureBottom + Theme.xs
        sourceComponent: Row {
            objectName: "reactions"
            spacing: Theme.xs
            Repeater {
                model: bubble.hasReactions ? bubble.reactions : []
                // Plain items rather than a control: a list makes and drops these as it scrolls.
                delegate: Rectangle {
                    id: chip
                    required property var modelData
                    objectName: "reaction"
                    implicitWidth: chipLabel.implicitWidth + 2 * Theme.s
                    implicitHeight: 22
                    width: implicitWidth
                    height: implicitHeight
                    radius: height / 2
                    color: modelData.mine ? Theme.reactionMine
                                          : (chipMouse.containsMouse ? Theme.hover : Theme.surface)
                    border.width: 1
                    border.color: modelData.mine ? Theme.accent : Theme.separator
                    Accessible.role: Accessible.Button
                    Accessible.name: modelData.mine ? "Togli la reazione"
                                                    : modelData.emoji + " " + modelData.count
                    Accessible.onPressAction: chip.toggle()
                    ToolTip.visible: chipMouse.containsMouse && modelData.mine
                    ToolTip.delay: 600
                    ToolTip.text: "Togli la reazione"

                    function toggle() {
                        bubble.chat.react(bubble.rowID, modelData.mine ? "" : modelData.emoji)
                    }

                    Label {
                        id: chipLabel
                        anchors.centerIn: parent
                        text: chip.modelData.emoji + " " + chip.modelData.count
                        font.pixelSize: Theme.secondary
                        color: chip.modelData.mine ? Theme.accentText : Theme.text
                    }
                    MouseArea {
                        id: chipMouse
                        anchors.fill: parent
                        hoverEnabled: true
                        cursorShape: Qt.PointingHandCursor
                        onClicked: chip.toggle()
                    }
                }
            }
        }
    }
}
