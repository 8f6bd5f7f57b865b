import QtQuick
import QtQuick.Controls
import QtQuick.Layouts
import Brevio

// The invite sheet over the window: the company, the person's name and e-mail; then the result.
// Esc closes it, Enter creates the invite.
SheetDialog {
    id: sheet

    property AppModel app
    readonly property alias model: form

    title: form.hasInvite ? "" : "Invita un cliente"
    closePolicy: Popup.CloseOnEscape

    InviteSheetModel { id: form; app: sheet.app }

    onAboutToShow: form.reset()
    onOpened: (form.isNewCompany ? companyNameField.input : nameField.input).forceActiveFocus()

    function submit() { if (form.canCreate) form.create() }

    contentItem: Item {
        implicitHeight: form.hasInvite ? resultView.implicitHeight : formColumn.implicitHeight
        implicitWidth: formColumn.implicitWidth

        ColumnLayout {
            id: formColumn
            visible: !form.hasInvite
            width: parent.width
            spacing: Theme.m

            Label {
                text: "Crei un codice da mandare al cliente. Con il codice sceglie la sua password e accede a Brevio, dal browser o dall'app per computer."
                color: Theme.secondaryText
                wrapMode: Text.WordWrap
                Layout.fillWidth: true
            }
            ColumnLayout {
                spacing: Theme.xs
                Layout.fillWidth: true
                Label {
                    text: "Azienda"
                    color: Theme.secondaryText
                    font.pixelSize: Theme.secondary
                }
                ComboBox {
                    id: companyPicker
                    objectName: "companyPicker"
                    palette.button: Theme.surface
                    palette.buttonText: Theme.text
                    palette.window: Theme.surface
                    palette.windowText: Theme.text
                    palette.base: Theme.surface
                    palette.text: Theme.text
                    palette.highlight: Theme.accent
                    palette.highlightedText: "#FFFFFF"
                    model: form.companies
                    textRole: "name"
                    valueRole: "id"
                    currentIndex: form.companyIndex
                    Accessible.name: "Azienda"
                    Layout.fillWidth: true
                    onActivated: (index) => form.companyChoice = valueAt(index)
                }
            }
            FormField {
                id: companyNameField
                objectName: "companyNameField"
                visible: form.isNewCompany
                label: "Nome dell'azienda"
                input.color: Theme.text
                placeholder: "Falegnameria Bruni"
                text: form.companyName
                onTextChanged: form.companyName = text
                onAccepted: sheet.submit()
            }
            FormField {
                id: nameField
                objectName: "personNameField"
                label: "Nome e cognome"
                input.color: Theme.text
                placeholder: "Anna Bruni"
                text: form.name
                onTextChanged: form.name = text
                onAccepted: sheet.submit()
            }
            FormField {
                id: emailField
                objectName: "personEmailField"
                label: "Email"
                input.color: Theme.text
                placeholder: "anna.bruni@esempio.it"
                text: form.email
                input.inputMethodHints: Qt.ImhEmailCharactersOnly
                onTextChanged: form.email = text
                onAccepted: sheet.submit()
            }
            Label {
                objectName: "inviteError"
                visible: text.length > 0
                text: form.errorMessage
                color: Theme.destructive
                wrapMode: Text.WordWrap
                Layout.fillWidth: true
            }
            RowLayout {
                spacing: Theme.s
                Layout.fillWidth: true
                Layout.topMargin: Theme.s
                BusyIndicator {
                    running: form.isWorking
                    visible: running
                    implicitWidth: 24
                    implicitHeight: 24
                }
                Item { Layout.fillWidth: true }
                Button {
                    objectName: "inviteCancelButton"
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
                    onClicked: sheet.close()
                }
                PrimaryButton {
                    objectName: "createInviteButton"
                    text: "Crea invito"
                    enabled: form.canCreate
                    onClicked: sheet.submit()
                }
            }
        }

        InviteResultView {
            id: resultView
            objectName: "inviteResult"
            visible: form.hasInvite
            width: parent.width
            sheet: form
            onDone: sheet.close()
            onVisibleChanged: if (visible) focusDone()
        }
    }
}
