import QtQuick
import QtQuick.Controls
import QtQuick.Layouts
import Brevio

// The look, starting with the session, the version.
Item {
    id: view

    property SettingsModel settings

    ColumnLayout {
        anchors.left: parent.left
        anchors.right: parent.right
        anchors.top: parent.top
        spacing: Theme.s

        Label {
            text: "Aspetto"
            font.weight: Font.DemiBold
        }
        SegmentedPicker {
            objectName: "themePicker"
            labels: view.settings.themeLabels
            current: view.settings.themeIndex
            onPicked: (index) => view.settings.themeIndex = index
            Layout.fillWidth: true
            Accessible.name: "Aspetto"
        }

        SettingSwitch {
            objectName: "launchSwitch"
            text: "Apri Brevio quando accedi al computer"
            checked: view.settings.launchesAtLogin
            onToggled: view.settings.launchesAtLogin = checked
            Layout.topMargin: Theme.l
        }
        Label {
            objectName: "launchCaption"
            text: "Così resti raggiungibile: con la finestra chiusa l'app resta collegata nell'area di notifica."
            color: Theme.secondaryText
            font.pixelSize: Theme.secondary
            wrapMode: Text.WordWrap
            Layout.fillWidth: true
        }
        Label {
            objectName: "launchError"
            visible: text.length > 0
            text: view.settings.launchError
            color: Theme.destructive
            font.pixelSize: Theme.secondary
            wrapMode: Text.WordWrap
            Layout.fillWidth: true
        }

        RowLayout {
            spacing: Theme.s
            Layout.topMargin: Theme.l
            Label {
                text: "Versione"
                color: Theme.secondaryText
            }
            Label {
                objectName: "versionValue"
                text: view.settings.version
            }
        }
    }
}
