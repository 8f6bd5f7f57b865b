import QtQuick
import Brevio
import QtQuick.Controls
import QtQuick.Layouts

// Signed in, waiting for the server's first answer.
Item {
    id: view
    property AppModel app

    ColumnLayout {
        anchors.centerIn: parent
        spacing: Theme.l
        width: Math.min(360, parent.width - 2 * Theme.margin)

        BusyIndicator {
            running: view.visible
            Layout.alignment: Qt.AlignHCenter
            Accessible.name: "Collegamento a Brevio…"
        }
        Label {
            text: "Collegamento a Brevio…"
            font.pixelSize: Theme.title
            Layout.alignment: Qt.AlignHCenter
        }
        PrimaryButton {
            objectName: "backToLogin"
            text: "Torna all'accesso"
            Layout.fillWidth: true
            Accessible.name: text
            onClicked: view.app.signOut()
        }
        Button {
            objectName: "settingsButton"
            text: "Foto profilo e impostazioni…"
            flat: true
            Layout.fillWidth: true
            Accessible.name: text
            onClicked: view.app.openSettings()
        }
        Button {
            objectName: "signOutButton"
            text: "Esci dall'account"
            flat: true
            Layout.fillWidth: true
            Accessible.name: text
            onClicked: view.app.signOut()
        }
    }
}
