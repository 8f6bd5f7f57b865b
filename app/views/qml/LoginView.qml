import QtQuick
import Brevio
import QtQuick.Controls
import QtQuick.Layouts

// Signing in, a new client's first request, or an account from an invite; the advanced server
// field and the two demos.
Item {
    id: view

    property AppModel app
    readonly property LoginForm form: form
    readonly property bool needsNewPassword: form.mode !== LoginForm.SignIn

    LoginForm {
        id: form
        app: view.app
    }

    Connections {
        target: view.app
        function onDemoFailed(message) { form.reportError(message) }
    }

    // The keyboard starts in the first field, and moves there when the mode changes.
    function focusFirstField() {
        const first = form.mode === LoginForm.Invite ? codeField
                    : form.mode === LoginForm.Request ? nameField : emailField
        first.input.forceActiveFocus()
    }
    Component.onCompleted: focusFirstField()

    ScrollView {
        id: scroll
        anchors.fill: parent
        contentWidth: availableWidth

        ColumnLayout {
            id: column
            width: Math.min(400, scroll.availableWidth - 2 * Theme.margin)
            x: (scroll.availableWidth - width) / 2
            spacing: Theme.m

            Item { Layout.preferredHeight: Theme.xl * 2 }

            Label {
                text: "Brevio"
                font.pixelSize: Theme.heading * 1.25
                font.weight: Font.DemiBold
                Layout.alignment: Qt.AlignHCenter
                Accessible.role: Accessible.Heading
            }

            Rectangle {
                objectName: "expiredNotice"
                visible: view.app && view.app.sessionExpired
                Layout.fillWidth: true
                implicitHeight: expired.implicitHeight + 2 * Theme.s
                radius: Theme.radiusControl
                color: Qt.rgba(Theme.accent.r, Theme.accent.g, Theme.accent.b, 0.12)
                RowLayout {
                    id: expired
                    anchors.fill: parent
                    anchors.margins: Theme.s
                    spacing: Theme.s
                    Icon { symbol: "clock.badge.exclamationmark"; color: Theme.accent }
                    Label {
                        text: "La sessione è scaduta: accedi di nuovo."
                        wrapMode: Text.WordWrap
                        Layout.fillWidth: true
                    }
                }
            }

            SegmentedPicker {
                id: modes
                objectName: "modePicker"
                Layout.fillWidth: true
                enabled: !form.isWorking
                labels: ["Accedi", "Nuova richiesta", "Ho un invito"]
                current: form.mode
                onPicked: (index) => {
                    form.mode = index
                    view.focusFirstField()
                }
            }

            Label {
                visible: form.mode === LoginForm.Request
                text: "Raccontaci di cosa hai bisogno: ti rispondiamo in questa chat. Con la password ritrovi la conversazione quando vuoi."
                wrapMode: Text.WordWrap
                color: Theme.secondaryText
                Layout.fillWidth: true
            }
            Label {
                visible: form.mode === LoginForm.Invite
                text: "Lo staff ti ha mandato un codice: usalo per creare il tuo account."
                wrapMode: Text.WordWrap
                color: Theme.secondaryText
                Layout.fillWidth: true
            }

            ColumnLayout {
                id: fields
                enabled: !form.isWorking
                spacing: Theme.m
                Layout.fillWidth: true

                FormField {
                    id: codeField
                    objectName: "codeField"
                    visible: form.mode === LoginForm.Invite
                    label: "Codice di invito"
                    placeholder: "Codice di invito, per esempio ABCD-EFGH"
                    text: form.code
                    onTextChanged: form.code = text
                    onAccepted: form.submit()
                }
                FormField {
                    id: nameField
                    objectName: "nameField"
                    visible: view.needsNewPassword
                    label: "Nome e cognome"
                    text: form.name
                    onTextChanged: form.name = text
                    onAccepted: form.submit()
                }
                FormField {
                    objectName: "companyField"
                    visible: form.mode === LoginForm.Request
                    label: "Azienda (facoltativa)"
                    text: form.company
                    onTextChanged: form.company = text
                    onAccepted: form.submit()
                }
                FormField {
                    id: emailField
                    objectName: "emailField"
                    visible: form.mode !== LoginForm.Invite
                    label: "Email"
                    text: form.email
                    input.inputMethodHints: Qt.ImhEmailCharactersOnly | Qt.ImhNoAutoUppercase
                    onTextChanged: form.email = text
                    onAccepted: form.submit()
                }
                FormField {
                    objectName: "passwordField"
                    visible: form.mode === LoginForm.SignIn
                    label: "Password"
                    secret: true
                    text: form.password
                    onTextChanged: form.password = text
                    onAccepted: form.submit()
                }
                ColumnLayout {
                    visible: form.mode === LoginForm.Request
                    spacing: Theme.xs
                    Layout.fillWidth: true
                    Label {
                        text: "Messaggio"
                        color: Theme.secondaryText
                        font.pixelSize: Theme.secondary
                    }
                    TextArea {
                        objectName: "requestText"
                        Layout.fillWidth: true
                        Layout.preferredHeight: Math.max(96, implicitHeight)
                        placeholderText: "Di cosa hai bisogno?"
                        wrapMode: TextEdit.Wrap
                        selectByMouse: true
                        text: form.text
                        onTextChanged: form.text = text
                        Accessible.name: "Messaggio"
                        background: Rectangle {
                            radius: Theme.radiusControl
                            color: Theme.surface
                            border.width: parent.activeFocus ? 2 : 1
                            border.color: parent.activeFocus ? Theme.accent : Theme.fieldBorder
                        }
                    }
                }
                FormField {
                    objectName: "newPasswordField"
                    visible: view.needsNewPassword
                    label: "Scegli una password (almeno 8 caratteri)"
                    secret: true
                    text: form.newPassword
                    onTextChanged: form.newPassword = text
                    onAccepted: form.submit()
                }
                FormField {
                    objectName: "confirmationField"
                    visible: view.needsNewPassword
                    label: "Ripeti la password"
                    secret: true
                    text: form.confirmation
                    onTextChanged: form.confirmation = text
                    onAccepted: form.submit()
                }
                Label {
                    visible: form.mode === LoginForm.Request
                    text: form.privacyNote
                    textFormat: Text.StyledText
                    wrapMode: Text.WordWrap
                    color: Theme.secondaryText
                    font.pixelSize: Theme.secondary
                    linkColor: Theme.accent
                    Layout.fillWidth: true
                    onLinkActivated: (link) => Qt.openUrlExternally(link)
                    HoverHandler { cursorShape: parent.hoveredLink ? Qt.PointingHandCursor : Qt.ArrowCursor }
                }
            }

            PrimaryButton {
                id: submit
                objectName: "submitButton"
                text: form.submitTitle
                enabled: !form.isWorking
                Layout.fillWidth: true
                onClicked: form.submit()
                BusyIndicator {
                    running: form.isWorking
                    visible: running
                    height: parent.height - 8
                    width: height
                    anchors.right: parent.right
                    anchors.rightMargin: Theme.s
                    anchors.verticalCenter: parent.verticalCenter
                }
            }

            Label {
                objectName: "errorLabel"
                visible: form.errorMessage.length > 0
                text: form.errorMessage
                color: Theme.destructive
                wrapMode: Text.WordWrap
                Layout.fillWidth: true
                Accessible.role: Accessible.AlertMessage
                Accessible.name: text
            }

            ToolButton {
                id: advanced
                objectName: "advancedToggle"
                text: "Opzioni avanzate"
                checkable: true
                checked: form.showsAdvanced
                onToggled: form.showsAdvanced = checked
                icon.source: checked ? "icons/chevron.down.svg" : "icons/chevron.right.svg"
                icon.color: Theme.secondaryText
                icon.width: 12
                icon.height: 12
                Accessible.name: text
                Layout.leftMargin: -Theme.s
            }
            ColumnLayout {
                visible: form.showsAdvanced
                enabled: !form.isWorking
                spacing: Theme.xs
                Layout.fillWidth: true
                FormField {
                    objectName: "serverField"
                    label: "Server"
                    text: form.serverText
                    input.inputMethodHints: Qt.ImhUrlCharactersOnly | Qt.ImhNoAutoUppercase
                    onTextChanged: form.serverText = text
                    onAccepted: form.submit()
                }
                Label {
                    text: form.serverHelp
                    wrapMode: Text.WordWrap
                    color: Theme.secondaryText
                    font.pixelSize: Theme.secondary
                    textFormat: Text.PlainText
                    Layout.fillWidth: true
                }
            }

            Rectangle { height: 1; color: Theme.separator; Layout.fillWidth: true; Layout.topMargin: Theme.s }

            Label {
                text: "Prova senza server"
                font.pixelSize: Theme.title
                font.weight: Font.DemiBold
                Accessible.role: Accessible.Heading
            }
            Label {
                text: "Una demo con dati inventati, che restano su questo computer e spariscono all'uscita."
                wrapMode: Text.WordWrap
                color: Theme.secondaryText
                Layout.fillWidth: true
            }
            RowLayout {
                spacing: Theme.s
                Layout.fillWidth: true
                Button {
                    objectName: "demoStaffButton"
                    text: "Demo come staff"
                    enabled: !form.isWorking
                    Layout.fillWidth: true
                    Accessible.name: text
                    onClicked: view.app.startDemo(true)
                    Keys.onReturnPressed: clicked()
                    Keys.onEnterPressed: clicked()
                }
                Button {
                    objectName: "demoClientButton"
                    text: "Demo come cliente"
                    enabled: !form.isWorking
                    Layout.fillWidth: true
                    Accessible.name: text
                    onClicked: view.app.startDemo(false)
                    Keys.onReturnPressed: clicked()
                    Keys.onEnterPressed: clicked()
                }
            }
            Item { Layout.preferredHeight: Theme.xl }
        }
    }
}
