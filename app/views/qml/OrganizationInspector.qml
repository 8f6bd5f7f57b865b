import QtQuick
import QtQuick.Controls
import QtQuick.Layouts
import Brevio

// The pane with nothing selected: the organisation and its staff.
ScrollView {
    id: inspector

    property AppModel app

    contentWidth: availableWidth
    OrganizationInspectorModel { id: org; app: inspector.app }

    ColumnLayout {
        width: inspector.availableWidth
        spacing: Theme.s

        Label {
            text: org.organization
            font.pixelSize: Theme.title
            font.weight: Font.DemiBold
            wrapMode: Text.WordWrap
            Layout.fillWidth: true
            Layout.topMargin: Theme.l
            Layout.leftMargin: Theme.margin
            Layout.rightMargin: Theme.margin
            Accessible.role: Accessible.Heading
        }
        Label {
            text: "Lo staff"
            font.weight: Font.DemiBold
            color: Theme.secondaryText
            Layout.topMargin: Theme.m
            Layout.leftMargin: Theme.margin
            Accessible.role: Accessible.Heading
        }
        Label {
            objectName: "staffCounts"
            text: org.countText + " · " + org.onlineText
            color: Theme.secondaryText
            font.pixelSize: Theme.small
            Layout.leftMargin: Theme.margin
        }
        Repeater {
            model: org.staff
            delegate: PersonRow {
                required property var modelData
                userID: modelData.userID
                name: modelData.name
                photo: modelData.photo
                detail: modelData.detail
                online: modelData.online
                serverOrigin: inspector.app ? inspector.app.serverOrigin : ""
                Layout.fillWidth: true
                Layout.leftMargin: Theme.margin
                Layout.rightMargin: Theme.margin
            }
        }
    }
}
