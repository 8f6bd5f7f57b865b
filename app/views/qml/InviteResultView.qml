import QtQuick
import QtQuick.Controls
import QtQuick.Layouts
import Brevio

// The invite once the server made it: the code in large type and the message ready to send.
ColumnLayout {
    id: result

    property InviteSheetModel sheet
    signal done()

    spacing: Theme.m

    RowLayout {
        spacing: Theme.s
        Icon {
            symbol: "checkmark.seal.fill"
            color: Theme.online
            sourceSize.width: 22
            sourceSize.height: 22
        }
        Label {
            color: Theme.text
            text: "Invito pronto"
            font.pixelSize: Theme.title
            font.weight: Font.DemiBold
            Accessible.role: Accessible.Heading
        }
    }
    Label {
        color: Theme.text
        objectName: "inviteResultText"
        text: result.sheet ? result.sheet.resultText : ""
        wrapMode: Text.WordWrap
        Layout.fillWidth: true
    }
    TextEdit {
        objectName: "inviteCode"
        text: result.sheet ? result.sheet.code : ""
        readOnly: true
        selectByMouse: true
        color: Theme.text
        selectionColor: Theme.accent
        font.pixelSize: Theme.codeSize
        font.weight: Font.Bold
        font.family: "monospace"
        font.letterSpacing: 2
        Accessible.role: Accessible.StaticText
        Accessible.name: "Codice di invito " + text
        Layout.alignment: Qt.AlignHCenter
        Layout.topMargin: Theme.s
        Layout.bottomMargin: Theme.s
    }
    Label {
        text: "Messaggio pronto da mandare"
        font.weight: Font.DemiBold
        color: Theme.secondaryText
    }
    ScrollView {
        Layout.fillWidth: true
        Layout.preferredHeight: Theme.messageBoxHeight
        TextArea {
            color: Theme.text
            objectName: "inviteMessage"
            text: result.sheet ? result.sheet.message : ""
            readOnly: true
            wrapMode: TextEdit.Wrap
            selectByMouse: true
            Accessible.name: "Messaggio pronto da mandare"
            background: Rectangle {
                radius: Theme.radiusControl
                color: Theme.surface
                border.width: 1
                border.color: Theme.fieldBorder
            }
        }
    }
    RowLayout {
        spacing: Theme.s
        Layout.fillWidth: true
        Button {
            id: copyButton
            objectName: "copyMessageButton"
            palette.button: Theme.surface
            palette.buttonText: Theme.text
            palette.window: Theme.surface
            palette.windowText: Theme.text
            palette.base: Theme.surface
            palette.text: Theme.text
            palette.highlight: Theme.accent
            palette.highlightedText: "#FFFFFF"
            text: result.sheet ? result.sheet.copyLabel : ""
            icon.source: result.sheet ? "icons/" + result.sheet.copySymbol + ".svg" : ""
            icon.color: Theme.text
            icon.width: 16
            icon.height: 16
            Accessible.name: text
            onClicked: result.sheet.copyMessage()
        }
        Item { Layout.fillWidth: true }
        PrimaryButton {
            id: doneButton
            objectName: "inviteDoneButton"
            text: "Fine"
            focus: true
            onClicked: result.done()
        }
    }
    function focusDone() { doneButton.forceActiveFocus() }
}
