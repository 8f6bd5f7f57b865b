import QtQuick
import QtQuick.Controls
import QtQuick.Layouts
import Brevio

// The group editor over the window: a new group (name and people) or, with `conversationID`,
// more people for that group. Esc closes it, Enter confirms.
SheetDialog {
    id: editor

    property AppModel app
    // Empty: a new group.
    property string conversationID
    readonly property alias model: form

    title: form.title
    closePolicy: Popup.CloseOnEscape

    GroupEditorModel {
        id: form
        app: editor.app
        conversationID: editor.conversationID
        onCreated: editor.close()
        onAdded: editor.close()
    }

    onAboutToShow: form.reset()
    onOpened: (form.isCreating ? nameField.input : searchField).forceActiveFocus()

    ColumnLayout {
        width: parent.width
        spacing: Theme.m

        FormField {
            id: nameField
            objectName: "groupNameInput"
            visible: form.isCreating
            label: "Nome"
            input.color: Theme.text
            placeholder: "Nome del gruppo, per esempio «Cantiere via Roma»"
            text: form.name
            onTextChanged: form.name = text
            onAccepted: form.confirm()
        }
        Label {
            text: "Scegli colleghi e clienti, anche di aziende diverse. I clienti vedranno i nomi degli altri membri, non le loro email."
            color: Theme.secondaryText
            wrapMode: Text.WordWrap
            Layout.fillWidth: true
        }
        TextField {
            id: searchField
            objectName: "groupSearchField"
            placeholderText: "Cerca persone o aziende"
            Accessible.name: placeholderText
            selectByMouse: true
            leftPadding: Theme.s + 2
            rightPadding: Theme.s + 2
            background: Rectangle {
                implicitHeight: 32
                radius: Theme.radiusControl
                color: Theme.surface
                border.width: searchField.activeFocus ? 2 : 1
                border.color: searchField.activeFocus ? Theme.accent : Theme.fieldBorder
            }
            text: form.search
            Layout.fillWidth: true
            onTextChanged: form.search = text
            onAccepted: form.confirm()
            KeyNavigation.tab: people
            Keys.onDownPressed: { people.forceActiveFocus(); people.currentIndex = 0 }
        }
        ListView {
            id: people
            objectName: "groupCandidates"
            model: form.candidates
            clip: true
            visible: count > 0
            focus: false
            activeFocusOnTab: true
            keyNavigationEnabled: true
            highlightFollowsCurrentItem: true
            implicitHeight: Theme.sheetListHeight
            Layout.fillWidth: true
            Accessible.role: Accessible.List
            Accessible.name: "Persone"
            ScrollBar.vertical: ScrollBar {}
            Keys.onSpacePressed: if (currentItem) form.toggle(currentItem.userID)
            Keys.onReturnPressed: form.confirm()
            Keys.onEnterPressed: form.confirm()
            delegate: ItemDelegate {
                id: candidate
                required property var modelData
                required property int index
                readonly property string userID: modelData.userID
                objectName: "candidate_" + modelData.name
                width: ListView.view.width
                padding: Theme.xs
                leftPadding: Theme.s
                rightPadding: Theme.s
                highlighted: ListView.isCurrentItem && people.activeFocus
                Accessible.role: Accessible.CheckBox
                Accessible.checkable: true
                Accessible.checked: modelData.selected
                Accessible.name: modelData.name + ", " + modelData.detail
                onClicked: { people.currentIndex = index; form.toggle(modelData.userID) }
                contentItem: RowLayout {
                    spacing: Theme.s
                    Icon {
                        symbol: candidate.modelData.selected ? "checkmark.circle.fill" : "circle"
                        color: candidate.modelData.selected ? Theme.accent : Theme.secondaryText
                        sourceSize.width: 20
                        sourceSize.height: 20
                    }
                    PersonRow {
                        userID: candidate.modelData.userID
                        name: candidate.modelData.name
                        photo: candidate.modelData.photo
                        detail: candidate.modelData.detail
                        online: candidate.modelData.online
                        serverOrigin: editor.app ? editor.app.serverOrigin : ""
                        Accessible.ignored: true
                        Layout.fillWidth: true
                    }
                }
            }
        }
        ColumnLayout {
            visible: people.count === 0
            spacing: Theme.s
            Layout.fillWidth: true
            Layout.preferredHeight: Theme.sheetListHeight
            Item { Layout.fillHeight: true }
            Icon {
                visible: form.emptyText === "Nessuno da aggiungere"
                symbol: "person.2.slash"
                color: Theme.secondaryText
                sourceSize.width: 32
                sourceSize.height: 32
                Layout.alignment: Qt.AlignHCenter
            }
            Label {
                objectName: "groupEmptyText"
                text: form.emptyText
                color: Theme.secondaryText
                horizontalAlignment: Text.AlignHCenter
                wrapMode: Text.WordWrap
                Layout.fillWidth: true
            }
            Item { Layout.fillHeight: true }
        }
        Label {
            objectName: "groupSelectionText"
            text: form.selectionText
            color: Theme.secondaryText
            font.pixelSize: Theme.small
        }
        Label {
            objectName: "groupError"
            visible: text.length > 0
            text: form.error
            color: Theme.destructive
            wrapMode: Text.WordWrap
            Layout.fillWidth: true
        }
    }

    footer: DialogButtonBox {
        background: Item {}
        padding: Theme.l
        topPadding: 0
        Button {
            objectName: "groupCancelButton"
            palette.button: Theme.surface
            palette.buttonText: Theme.text
            palette.window: Theme.surface
            palette.windowText: Theme.text
            palette.base: Theme.surface
            palette.text: Theme.text
            palette.highlight: Theme.accent
            palette.highlightedText: "#FFFFFF"
            text: "Annulla"
            Accessible.name: text
            DialogButtonBox.buttonRole: DialogButtonBox.RejectRole
        }
        PrimaryButton {
            objectName: "groupConfirmButton"
            text: form.confirmLabel
            enabled: form.canConfirm
            // The dialog stays open until the server agrees.
            onClicked: form.confirm()
        }
    }
    onRejected: close()
}
