import QtQuick
import QtQuick.Controls
import QtQuick.Dialogs
import QtQuick.Layouts
import Brevio

// The signed-in user's profile photo: the avatar as others see it, a new photo from a file, or
// none.
Item {
    id: view

    property AppModel app
    readonly property ProfilePhotoEditor editor: editor

    implicitWidth: row.implicitWidth
    implicitHeight: row.implicitHeight

    ProfilePhotoEditor {
        id: editor
        app: view.app
        picking: chooser.visible
    }

    RowLayout {
        id: row
        anchors.fill: parent
        spacing: Theme.l

        AvatarView {
            objectName: "editorAvatar"
            size: Theme.avatarEditor
            userID: editor.userID
            name: editor.userName
            photo: editor.photo
            serverOrigin: view.app ? view.app.serverOrigin : ""
            Layout.alignment: Qt.AlignTop

            BusyIndicator {
                objectName: "workingIndicator"
                anchors.centerIn: parent
                running: editor.working
                visible: running
                Accessible.name: "Invio della foto"
            }
        }

        ColumnLayout {
            spacing: Theme.s
            Layout.fillWidth: true
            Layout.alignment: Qt.AlignTop

            Label {
                text: "La vedono tutte le persone con cui chatti."
                color: Theme.secondaryText
                font.pixelSize: Theme.secondary
                wrapMode: Text.WordWrap
                Layout.fillWidth: true
            }

            RowLayout {
                spacing: Theme.s
                Button {
                    objectName: "changePhotoButton"
                    text: "Cambia foto…"
                    Accessible.name: text
                    enabled: !editor.working && !editor.picking
                    onClicked: chooser.open()
                }
                Button {
                    objectName: "removePhotoButton"
                    text: "Rimuovi"
                    Accessible.name: text
                    enabled: !editor.working && editor.hasPhoto
                    onClicked: editor.remove()
                }
            }

            Label {
                objectName: "photoError"
                visible: editor.error.length > 0
                text: editor.error
                color: Theme.destructive
                wrapMode: Text.WordWrap
                Layout.fillWidth: true
            }
        }
    }

    FileDialog {
        id: chooser
        title: "Scegli una foto"
        fileMode: FileDialog.OpenFile
        nameFilters: ["Immagini (*.jpg *.jpeg *.png *.heic *.heif *.webp *.gif *.JPG *.JPEG *.PNG *.HEIC *.HEIF)"]
        onAccepted: editor.choose(selectedFile)
    }
}
