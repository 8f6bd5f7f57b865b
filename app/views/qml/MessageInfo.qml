import QtQuick
import QtQuick.Controls
import QtQuick.Layouts
import Brevio

// Who received and read one of the user's messages: one line per other participant.
Dialog {
    id: info

    property ChatViewModel chat

    title: "Info messaggio"
    modal: true
    width: 360
    padding: Theme.l

    // Not the standard button: its text would be the system's English.
    footer: DialogButtonBox {
        Button {
            objectName: "closeInfoButton"
            text: "Chiudi"
            Accessible.name: text
            DialogButtonBox.buttonRole: DialogButtonBox.RejectRole
        }
    }

    ColumnLayout {
        width: parent.width
        spacing: Theme.s

        BusyIndicator {
            running: info.chat && info.chat.infoLoading
            visible: running
            Layout.alignment: Qt.AlignHCenter
        }
        Repeater {
            model: info.chat && !info.chat.infoLoading ? info.chat.infoRows : []
            delegate: RowLayout {
                required property var modelData
                objectName: "infoRow"
                spacing: Theme.m
                Layout.fillWidth: true
                Accessible.role: Accessible.StaticText
                Accessible.name: modelData.name.length > 0 ? modelData.name + ": " + modelData.status
                                                           : modelData.status
                Label {
                    visible: text.length > 0
                    text: modelData.name
                    font.weight: Font.DemiBold
                    elide: Text.ElideRight
                    Layout.maximumWidth: 160
                }
                Label {
                    text: modelData.status
                    color: modelData.name.length > 0 ? Theme.secondaryText : Theme.text
                    wrapMode: Text.WordWrap
                    horizontalAlignment: modelData.name.length > 0 ? Text.AlignRight : Text.AlignLeft
                    Layout.fillWidth: true
                }
            }
        }
    }
}
