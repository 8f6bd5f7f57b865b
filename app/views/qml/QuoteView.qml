import QtQuick
import QtQuick.Controls
import QtQuick.Layouts
import Brevio

// The message a reply answers, inside the reply's bubble; clicking it goes to that message.
AbstractButton {
    id: quote

    property string title
    property string quotedText
    property bool deleted: false
    // Inside one's own bubble (light text on the accent fill).
    property bool mine: false

    // As wide as its longer line wants, whatever width it is given (the bubble sizes to it).
    implicitWidth: leftPadding + rightPadding + Math.ceil(Math.max(titleMetrics.advanceWidth,
                                                                   textMetrics.advanceWidth)) + 2
    TextMetrics { id: titleMetrics; font: titleLabel.font; text: quote.title }
    TextMetrics { id: textMetrics; font: textLabel.font; text: quote.quotedText }

    focusPolicy: Qt.NoFocus
    hoverEnabled: true
    padding: Theme.s
    leftPadding: Theme.s + bar.width + Theme.s
    Accessible.role: Accessible.Button
    Accessible.name: "Vai al messaggio"
    Accessible.description: title + ": " + quotedText
    ToolTip.visible: hovered
    ToolTip.delay: 600
    ToolTip.text: "Vai al messaggio"

    HoverHandler { cursorShape: Qt.PointingHandCursor }

    background: Rectangle {
        radius: Theme.radiusControl
        color: quote.mine ? Theme.ownQuote : Theme.otherQuote
        Rectangle {
            id: bar
            width: 3
            radius: 1.5
            x: Theme.s
            anchors.top: parent.top
            anchors.bottom: parent.bottom
            anchors.margins: Theme.s
            color: quote.mine ? Theme.ownMeta : Theme.accentText
        }
    }

    contentItem: ColumnLayout {
        spacing: 2
        Label {
            id: titleLabel
            objectName: "quoteTitle"
            text: quote.title
            color: quote.mine ? Theme.ownText : Theme.accentText
            font.pixelSize: Theme.secondary
            font.weight: Font.DemiBold
            elide: Text.ElideRight
            Layout.fillWidth: true
        }
        Label {
            id: textLabel
            objectName: "quoteText"
            text: quote.quotedText
            color: quote.mine ? Theme.ownMeta : Theme.secondaryText
            font.pixelSize: Theme.secondary
            font.italic: quote.deleted
            wrapMode: Text.Wrap
            maximumLineCount: 2
            elide: Text.ElideRight
            Layout.fillWidth: true
        }
    }
}
