import QtQuick
import Brevio
import QtQuick.Controls
import QtQuick.Layouts

// The server no longer accepts this build.
Item {
    id: view
    property AppModel app

    ColumnLayout {
        anchors.centerIn: parent
        spacing: Theme.l
        width: Math.min(420, parent.width - 2 * Theme.margin)

        Label {
            objectName: "upgradeText"
            text: view.app ? view.app.upgradeText : ""
            wrapMode: Text.WordWrap
            horizontalAlignment: Text.AlignHCenter
            font.pixelSize: Theme.title
            Layout.fillWidth: true
        }
        Button {
            objectName: "downloadButton"
            text: "Aggiorna Brevio"
            flat: true
            icon.source: "icons/arrow.down.app.svg"
            icon.color: Theme.accent
            palette.buttonText: Theme.accent
            Layout.alignment: Qt.AlignHCenter
            Accessible.name: text
            onClicked: view.app.openDownloadPage()
        }
        Button {
            objectName: "backToLogin"
            text: "Torna all'accesso"
            Layout.alignment: Qt.AlignHCenter
            Accessible.name: text
            onClicked: view.app.signOut()
        }
    }
}
