import QtQuick
import QtTest
import Brevio

TestCase {
    id: test
    name: "LoginView"
    when: windowShown
    visible: true // the views under test are created inside it
    width: 1100
    height: 720

    Component {
        id: loginView
        LoginView { anchors.fill: parent; app: testApp }
    }
    Component {
        id: rootView
        RootView { anchors.fill: parent; app: testApp }
    }

    function segment(view, label) {
        const picker = findChild(view, "modePicker")
        for (let i = 0; i < picker.children.length; ++i) {
            const found = findByText(picker, label)
            if (found)
                return found
        }
        return null
    }
    function findByText(item, label) {
        if (item.text === label && item.clicked !== undefined)
            return item
        for (let i = 0; i < item.children.length; ++i) {
            const found = findByText(item.children[i], label)
            if (found)
                return found
        }
        return null
    }
    function shown(view, name) { return findChild(view, name).visible }

    function test_eachModeShowsItsFieldsAndButton() {
        const view = createTemporaryObject(loginView, test)
        const submit = findChild(view, "submitButton")
        compare(submit.text, "Accedi")
        verify(shown(view, "emailField") && shown(view, "passwordField"))
        verify(!shown(view, "codeField") && !shown(view, "newPasswordField"))

        mouseClick(segment(view, "Nuova richiesta"))
        compare(submit.text, "Invia la richiesta")
        for (const name of ["nameField", "companyField", "emailField", "requestText",
                            "newPasswordField", "confirmationField"])
            verify(shown(view, name), name)
        verify(!shown(view, "passwordField") && !shown(view, "codeField"))

        mouseClick(segment(view, "Ho un invito"))
        compare(submit.text, "Crea il mio account")
        for (const name of ["codeField", "nameField", "newPasswordField", "confirmationField"])
            verify(shown(view, name), name)
        verify(!shown(view, "emailField") && !shown(view, "companyField"))
        compare(findChild(view, "codeField").placeholder, "Codice di invito, per esempio ABCD-EFGH")

        // What was typed stays across modes.
        findChild(view, "nameField").text = "Anna Neri"
        mouseClick(segment(view, "Nuova richiesta"))
        compare(findChild(view, "nameField").text, "Anna Neri")
    }

    function test_aValidationErrorShowsUnderTheFormAndSendsNothing() {
        const view = createTemporaryObject(loginView, test)
        mouseClick(segment(view, "Ho un invito"))
        findChild(view, "newPasswordField").text = "1234567"
        findChild(view, "confirmationField").text = "1234567"
        mouseClick(findChild(view, "submitButton"))
        const error = findChild(view, "errorLabel")
        verify(error.visible)
        compare(error.text, "La password deve avere almeno 8 caratteri.")
        verify(findChild(view, "submitButton").enabled)
    }

    function test_aFailedSignInShowsTheErrorAndEnablesTheButtonAgain() {
        const view = createTemporaryObject(loginView, test)
        mouseClick(findChild(view, "advancedToggle"))
        verify(shown(view, "serverField"))
        // Nothing listens on port 9 of the loopback address.
        findChild(view, "serverField").text = "ws://127.0.0.1:9/ws"
        findChild(view, "emailField").text = "marta@example.com"
        findChild(view, "passwordField").text = "qualunque"
        const submit = findChild(view, "submitButton")
        mouseClick(submit)
        tryCompare(findChild(view, "errorLabel"), "text",
                   "Il server non risponde. Controlla la connessione e l'indirizzo del server.",
                   20000)
        verify(submit.enabled)
        verify(findChild(view, "emailField").enabled)
        compare(testApp.screen, "login")
    }

    function test_theDemoButtonsReachTheSignedInHome() {
        const root = createTemporaryObject(rootView, test)
        tryVerify(() => findChild(root, "demoClientButton") !== null)
        mouseClick(findChild(root, "demoClientButton"))
        tryCompare(testApp, "screen", "clientHome", 20000)
        tryVerify(() => findChild(root, "chatView") !== null)
        tryVerify(() => findChild(root, "chatView").conversationID.length > 0)
        verify(testApp.isDemo)

        testApp.signOut()
        tryCompare(testApp, "screen", "login", 20000)
        tryVerify(() => findChild(root, "demoStaffButton") !== null)
        mouseClick(findChild(root, "demoStaffButton"))
        tryCompare(testApp, "screen", "staffHome", 20000)
        testApp.signOut()
        tryCompare(testApp, "screen", "login", 20000)
    }
}
