import QtQuick
import QtQuick.Controls
import QtQuick.Layouts
import Brevio

// Who is signed in, on which server; the photo; signing out.
Item {
    id: view

    property AppModel app
    property SettingsModel settings

    ColumnLayout {
        anchors.fill: parent
        spacing: Theme.l

        Label {
            objectName: "signedOutText"
            visible: !view.settings.signedIn
            text: "Non hai effettuato l'accesso."
            color: Theme.secondaryText
            Layout.alignment: Qt.AlignHCenter
            Layout.topMargin: Theme.xl
        }

        Label {
            visible: view.settings.signedIn
            text: "Foto profilo"
            font.weight: Font.DemiBold
        }
        Loader {
            // The editor reads the signed-in user; it exists only while there is one.
            active: view.settings.signedIn
            visible: active
            Layout.fillWidth: true
            sourceComponent: ProfilePhotoEditorView { app: view.app }
        }

        GridLayout {
            objectName: "accountRows"
            visible: view.settings.signedIn
            columns: 2
            columnSpacing: Theme.l
            rowSpacing: Theme.s
            Layout.fillWidth: true

            Label { text: "Nome"; color: Theme.secondaryText }
            Label {
                objectName: "nameValue"
                text: view.settings.userName
                elide: Text.ElideRight
                Layout.fillWidth: true
            }
            Label { text: "Email"; color: Theme.secondaryText }
            Label {
                objectName: "emailValue"
                text: view.settings.email
                elide: Text.ElideRight
                Layout.fillWidth: true
            }
            Label { text: "Accesso come"; color: Theme.secondaryText }
            Label {
                objectName: "roleValue"
                text: view.settings.roleText
                Layout.fillWidth: true
            }
            Label { text: "Server"; color: Theme.secondaryText }
            Label {
                objectName: "serverValue"
                text: view.settings.serverText
                elide: Text.ElideMiddle
                Layout.fillWidth: true
            }
        }

        Item { Layout.fillHeight: true }

        Rectangle {
            visible: view.settings.signedIn
            color: Theme.separator
            implicitHeight: 1
            Layout.fillWidth: true
        }
        RowLayout {
            visible: view.settings.signedIn
            spacing: Theme.m
            Layout.fillWidth: true

            Label {
                objectName: "signOutWarning"
                text: "Su questo computer si cancella anche la copia locale delle chat. I messaggi restano sul server."
                color: Theme.secondaryText
                font.pixelSize: Theme.secondary
                wrapMode: Text.WordWrap
                Layout.fillWidth: true
            }
            Button {
                objectName: "signOutButton"
                text: "Esci dall'account"
                Accessible.name: text
                palette.buttonText: Theme.destructive
                onClicked: confirmation.open()
            }
        }
    }

    Dialog {
        id: confirmation
        objectName: "signOutConfirmation"
        title: "Esci dall'account"
        modal: true
        anchors.centerIn: parent
        contentWidth: Theme.settingsDialogWidth

        contentItem: Label {
            text: "Su questo computer si cancella anche la copia locale delle chat. I messaggi restano sul server."
            wrapMode: Text.WordWrap
        }

        footer: DialogButtonBox {
            Button {
                objectName: "cancelSignOut"
                text: "Annulla"
                Accessible.name: text
                DialogButtonBox.buttonRole: DialogButtonBox.RejectRole
            }
            Button {
                objectName: "confirmSignOut"
                text: "Esci dall'account"
                palette.buttonText: Theme.destructive
                Accessible.name: text
                DialogButtonBox.buttonRole: DialogButtonBox.AcceptRole
            }
        }
        onAccepted: view.settings.signOut()
    }
}
