import QtQuick
import QtQuick.Controls
import QtQuick.Layouts
import Brevio

// One message of the list: one's own on the right, others' on the left, with the author's name,
// the quoted message, the text, the time and ticks, a failed message's buttons and the reactions.
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
    readonly property real avatarOffset: hasAvatarSlot ? Theme.avatarBubble + Theme.s : 0
    readonly property real maxBodyWidth: Math.max(120, Math.min(width * Theme.bubbleWidthRatio,
                                                                Theme.bubbleMaxWidth))
    readonly property real innerMax: maxBodyWidth - 2 * Theme.bubblePadding
    readonly property color textColor: mine ? Theme.ownText : Theme.otherText
    readonly property color metaColor: mine ? Theme.ownMeta : Theme.otherMeta
    readonly property alias hovered: hover.hovered
    // The rich text in this bubble's colours: links in the bubble's link colour (the document
    // would take the desktop's default blue), matched words readable on the highlight.

    implicitHeight: stack.height + (continues ? Theme.runSpacing : Theme.authorSpacing)

    function openActions() { bubble.actionsRequested(body, body.width / 2, body.height / 2) }

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

    Column {
        id: stack
        x: Theme.l + bubble.avatarOffset
        width: bubble.width - 2 * Theme.l - bubble.avatarOffset
        spacing: Theme.xs

        Item {
            id: body
            objectName: "bubbleBody"
            x: bubble.mine ? stack.width - width : 0
            width: content.width + 2 * Theme.bubblePadding
            height: content.height + 2 * (Theme.bubblePadding - 3)

            BubbleShape {
                anchors.fill: parent
                isMine: bubble.mine
                cutsCorner: !bubble.continues
                color: bubble.mine ? Theme.ownBubble : Theme.otherBubble
                borderColor: bubble.mine ? Theme.ownBubble : Theme.otherBubbleBorder
                borderWidth: bubble.mine ? 0 : 1
            }
            // The current search match, or the row the keyboard is on.
            Rectangle {
                objectName: "matchOutline"
                anchors.fill: parent
                anchors.margins: -3
                radius: Theme.radiusBubble + 3
                color: "transparent"
                border.width: Theme.focusRing
                border.color: bubble.currentMatch ? Theme.matchOutline : Theme.accent
                visible: bubble.currentMatch || bubble.isCurrent
            }

            Column {
                id: content
                x: Theme.bubblePadding
                y: Theme.bubblePadding - 3
                spacing: Theme.xs
                width: Math.min(bubble.innerMax, Math.max(
                    authorLabel.visible ? Math.ceil(authorMetrics.advanceWidth) + 2 : 0,
                    quoteView.visible ? quoteView.implicitWidth : 0,
                    textRow.naturalWidth))

                // Measured apart from the label, whose own width follows the column's.
                TextMetrics { id: authorMetrics; font: authorLabel.font; text: authorLabel.text }
                Label {
                    id: authorLabel
                    objectName: "authorLabel"
                    visible: bubble.showsAuthor && !bubble.mine
                    width: content.width
                    text: bubble.author
                    color: Theme.accentText
                    font.pixelSize: Theme.secondary
                    font.weight: Font.DemiBold
                    elide: Text.ElideRight
                }

                QuoteView {
                    id: quoteView
                    objectName: "quoteView"
                    visible: bubble.hasQuote
                    width: content.width
                    mine: bubble.mine
                    title: bubble.hasQuote ? bubble.quote.title : ""
                    quotedText: bubble.hasQuote ? bubble.quote.text : ""
                    deleted: bubble.hasQuote && bubble.quote.deleted
                    onClicked: bubble.quoteActivated(bubble.quote.seq)
                }

                // The text (or the deleted line) with the time and ticks: beside a short one-line
                // text, under anything longer.
                Item {
                    id: textRow
                    readonly property real gap: Theme.s
                    // The widest line of the text, measured apart from the laid-out text so
                    // that the width the text gets does not feed back into it.
                    readonly property real textNatural: {
                        if (bubble.deleted)
                            return deletedRow.implicitWidth
                        let widest = 0
                        for (const line of bubble.text.split("\n"))
                            widest = Math.max(widest, bodyMetrics.advanceWidth(line))
                        return Math.ceil(widest) + 2
                    }
                    FontMetrics { id: bodyMetrics; font: textEdit.font }
                    // One line at its natural width unless the text breaks lines itself.
                    readonly property bool inline: textNatural + gap + meta.implicitWidth <= bubble.innerMax
                                                   && (bubble.deleted || bubble.text.indexOf("\n") < 0)
                    readonly property real naturalWidth: inline
                        ? textNatural + gap + meta.implicitWidth
                        : Math.max(Math.min(textNatural, bubble.innerMax), meta.implicitWidth)
                    width: content.width
                    height: inline ? Math.max(textBlock.height, meta.implicitHeight)
                                   : textBlock.height + meta.implicitHeight

                    Item {
                        id: textBlock
                        width: textRow.inline ? textRow.textNatural
                                              : Math.min(textRow.textNatural, bubble.innerMax)
                        height: bubble.deleted ? deletedRow.implicitHeight : textEdit.height

                        TextEdit {
                            id: textEdit
                            objectName: "messageText"
                            visible: !bubble.deleted
                            width: parent.width
                            text: bubble.richText
                            textFormat: TextEdit.RichText
                            wrapMode: TextEdit.Wrap
                            readOnly: true
                            selectByMouse: true
                            color: bubble.textColor
                            selectionColor: bubble.mine ? Theme.ownMeta : Theme.accent
                            selectedTextColor: bubble.mine ? Theme.ownBubble : Theme.ownText
                            font.pixelSize: Theme.body
                            activeFocusOnTab: false
                            Accessible.role: Accessible.StaticText
                            Accessible.name: bubble.text
                            onLinkActivated: (link) => Qt.openUrlExternally(link)

                            HoverHandler {
                                cursorShape: textEdit.hoveredLink.length > 0 ? Qt.PointingHandCursor
                                                                            : Qt.IBeamCursor
                            }
                        }
                        Row {
                            id: deletedRow
                            objectName: "deletedRow"
                            visible: bubble.deleted
                            spacing: Theme.xs
                            Icon {
                                anchors.verticalCenter: parent.verticalCenter
                                symbol: "nosign"
                                color: bubble.metaColor
                            }
                            Label {
                                objectName: "deletedText"
                                // On the row's bottom, like the time beside it: the symbol is
                                // taller than the line.
                                anchors.bottom: parent.bottom
                                text: bubble.deletedText
                                color: bubble.metaColor
                                font.italic: true
                            }
                        }
                    }

                    Row {
                        id: meta
                        objectName: "meta"
                        spacing: Theme.xs
                        x: textRow.width - width
                        y: textRow.height - height
                        Label {
                            objectName: "editedLabel"
                            visible: bubble.edited && !bubble.deleted
                            text: "modificato"
                            color: bubble.metaColor
                            font.pixelSize: Theme.small
                        }
                        Label {
                            objectName: "timeLabel"
                            text: bubble.time
                            color: bubble.metaColor
                            font.pixelSize: Theme.small
                        }
                        TicksView {
                            objectName: "ticks"
                            anchors.verticalCenter: parent.verticalCenter
                            visible: bubble.mine && bubble.showsStatus && !bubble.deleted
                            symbol: bubble.deliverySymbol
                            text: bubble.deliveryText
                            color: bubble.metaColor
                        }
                    }
                }
            }

            // Right click anywhere on the bubble; the text keeps the left button for selecting.
            MouseArea {
                anchors.fill: parent
                acceptedButtons: Qt.RightButton
                enabled: !bubble.deleted
                onClicked: (mouse) => bubble.actionsRequested(body, mouse.x, mouse.y)
            }

            IconButton {
                id: moreButton
                objectName: "moreButton"
                symbol: "ellipsis"
                help: "Azioni sul messaggio"
                focusPolicy: Qt.NoFocus
                visible: !bubble.deleted && (bubble.hovered || bubble.isCurrent || pressed)
                width: 26
                height: 26
                anchors.verticalCenter: parent.verticalCenter
                x: bubble.mine ? -width - Theme.xs : parent.width + Theme.xs
                onClicked: bubble.actionsRequested(moreButton, 0, moreButton.height)
            }
        }

        // A message that could not be sent: why, and what to do.
        RowLayout {
            objectName: "failureRow"
            visible: bubble.delivery === "failed"
            x: stack.width - width
            width: Math.min(implicitWidth, stack.width)
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

        Row {
            objectName: "reactions"
            visible: !bubble.deleted && bubble.reactions && bubble.reactions.length > 0
            x: bubble.mine ? stack.width - width : 0
            spacing: Theme.xs
            Repeater {
                model: bubble.deleted ? [] : bubble.reactions
                delegate: AbstractButton {
                    id: chip
                    required property var modelData
                    objectName: "reaction"
                    focusPolicy: Qt.NoFocus
                    hoverEnabled: true
                    padding: 2
                    leftPadding: Theme.s
                    rightPadding: Theme.s
                    Accessible.role: Accessible.Button
                    Accessible.name: modelData.mine ? "Togli la reazione"
                                                    : modelData.emoji + " " + modelData.count
                    ToolTip.visible: hovered && modelData.mine
                    ToolTip.delay: 600
                    ToolTip.text: "Togli la reazione"
                    onClicked: bubble.chat.react(bubble.rowID, modelData.mine ? "" : modelData.emoji)
                    contentItem: Label {
                        text: chip.modelData.emoji + " " + chip.modelData.count
                        font.pixelSize: Theme.secondary
                        color: chip.modelData.mine ? Theme.accentText : Theme.text
                    }
                    background: Rectangle {
                        implicitHeight: 22
                        radius: height / 2
                        color: chip.modelData.mine ? Theme.reactionMine
                                                   : (chip.hovered ? Theme.hover : Theme.surface)
                        border.width: 1
                        border.color: chip.modelData.mine ? Theme.accent : Theme.separator
                    }
                }
            }
        }
    }
}
