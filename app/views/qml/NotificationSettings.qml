import QtQuick
import QtQuick.Controls
import QtQuick.Layouts
import Brevio

// The three switches the notifier reads, and what to do when the desktop shows none.
Item {
    id: view

    property SettingsModel settings

    ColumnLayout {
        anchors.left: parent.left
        anchors.right: parent.right
        anchors.top: parent.top
        spacing: Theme.s

        SettingSwitch {
            objectName: "enabledSwitch"
            text: "Avvisami dei messaggi nuovi"
            checked: view.settings.notificationsEnabled
            onToggled: view.settings.notificationsEnabled = checked
        }
        SettingSwitch {
            objectName: "soundSwitch"
            text: "Con il suono"
            enabled: view.settings.notificationsEnabled
            checked: view.settings.notificationSound
            onToggled: view.settings.notificationSound = checked
            Layout.leftMargin: Theme.xl
        }
        SettingSwitch {
            objectName: "previewSwitch"
            text: "Mostra il testo del messaggio"
            enabled: view.settings.notificationsEnabled
            checked: view.settings.notificationPreview
            onToggled: view.settings.notificationPreview = checked
            Layout.leftMargin: Theme.xl
        }
        Label {
            objectName: "visibleNote"
            text: "Non arrivano notifiche per la conversazione che hai davanti."
            color: Theme.secondaryText
            font.pixelSize: Theme.secondary
            wrapMode: Text.WordWrap
            Layout.fillWidth: true
            Layout.topMargin: Theme.xs
        }

        Rectangle {
            objectName: "blockedNotice"
            visible: view.settings.notificationsBlocked
            color: Theme.surface
            border.color: Theme.separator
            radius: Theme.radiusCard
            implicitHeight: blocked.implicitHeight + 2 * Theme.m
            Layout.fillWidth: true
            Layout.topMargin: Theme.l

            ColumnLayout {
                id: blocked
                anchors.fill: parent
                anchors.margins: Theme.m
                spacing: Theme.s

                RowLayout {
                    spacing: Theme.s
                    Icon {
                        symbol: "bell.slash"
                        color: Theme.destructive
                    }
                    Label {
                        objectName: "blockedText"
                        text: "Il sistema blocca le notifiche di Brevio."
                        wrapMode: Text.WordWrap
                        Layout.fillWidth: true
                    }
                }
                Button {
                    objectName: "openNotificationSettings"
                    visible: view.settings.canOpenNotificationSettings
                    text: "Apri le impostazioni delle notifiche…"
                    Accessible.name: text
                    onClicked: view.settings.openNotificationSettings()
                }
            }
        }
    }
}
