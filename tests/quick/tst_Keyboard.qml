import QtQuick
import QtTest
import Brevio
import BrevioTest

// The keyboard alone, from the login window to a sent message: Tab through the form, Enter on the
// staff demo, the list taking the focus, arrows and Enter to open a conversation, typing and Enter
// to send. Then the window's shortcuts, each from more than one place, and Esc closing what they
// opened.
TestCase {
    id: test
    name: "Keyboard"
    when: windowShown
    visible: true // the views under test are created inside it
    width: 1100
    height: 720

    TestDesktop { id: desktop; app: testApp }

    // The main window itself, shown and active so that it gets the keys.
    Component {
        id: mainWindow
        Main { app: testApp; visible: true }
    }
    function openMainWindow() {
        const window = createTemporaryObject(mainWindow, test)
        verify(window)
        window.requestActivate()
        tryVerify(() => window.active, 5000, "the main window is active")
        return window.contentItem
    }

    function cleanup() {
        desktop.show(false)
        if (testApp.screen !== "login") {
            testApp.signOut()
            tryCompare(testApp, "screen", "login", 20000)
        }
    }

    function type(text) {
        for (const c of text)
            keyClick(c)
    }
    // Tab until `item` has the focus, counting the steps; fails after `limit`.
    function tabTo(item, limit) {
        for (let step = 1; step <= limit; ++step) {
            keyClick(Qt.Key_Tab)
            if (item.activeFocus)
                return step
        }
        fail("Tab never reached " + item.objectName + "; the focus is on "
             + item.Window.activeFocusItem)
    }
    function signInAsStaffByKeyboard(content) {
        const login = findChild(content, "emailField")
        tryVerify(() => login !== null && login.input.activeFocus, 5000,
                  "the e-mail field has the focus at the start")
        const password = findChild(content, "passwordField").input
        const submit = findChild(content, "submitButton")
        const demoStaff = findChild(content, "demoStaffButton")
        keyClick(Qt.Key_Tab)
        verify(password.activeFocus, "Tab from the e-mail goes to the password")
        keyClick(Qt.Key_Tab)
        verify(submit.activeFocus, "then to the button")
        // The demo after the advanced options, in reading order.
        compare(tabTo(demoStaff, 5), 2)
        keyClick(Qt.Key_Tab)
        verify(findChild(content, "demoClientButton").activeFocus)
        keyClick(Qt.Key_Backtab)
        verify(demoStaff.activeFocus)
        keyClick(Qt.Key_Return)
        tryCompare(testApp, "screen", "staffHome", 20000)
    }

    function test_enterInTheFormSubmitsIt() {
        const content = openMainWindow()
        const email = findChild(content, "emailField").input
        tryVerify(() => email.activeFocus)
        keyClick(Qt.Key_Return)
        // Nothing typed: the form says what is missing instead of signing in.
        tryVerify(() => findChild(content, "errorLabel").visible)
        compare(testApp.screen, "login")
    }

    function test_fromTheLoginToASentMessageWithTheKeyboardAlone() {
        desktop.show(true)
        const content = openMainWindow()
        signInAsStaffByKeyboard(content)

        const list = findChild(content, "conversationList")
        tryVerify(() => list.count > 1 && list.activeFocus, 10000,
                  "the conversation list has the focus after signing in")
        compare(list.currentIndex, 0)
        keyClick(Qt.Key_Down)
        compare(list.currentIndex, 1)
        const conversations = findChild(content, "conversationsView").list
        const chosen = conversations.idAt(1)
        keyClick(Qt.Key_Return)
        compare(testApp.selectedConversationID, chosen)

        tryVerify(() => findChild(content, "composerField") !== null, 5000)
        const field = findChild(content, "composerField")
        tryVerify(() => field.activeFocus, 5000, "the composer has the focus once opened")
        type("Scritto senza mouse")
        keyClick(Qt.Key_Return)
        compare(field.text, "")
        const messages = findChild(content, "messageList")
        tryVerify(() => {
            for (let i = 0; i < messages.count; ++i) {
                const row = messages.itemAtIndex(i)
                if (row && row.kind === "message" && row.text === "Scritto senza mouse" && row.mine)
                    return true
            }
            return false
        }, 10000, "the sent message is in the list")
        verify(field.activeFocus, "the composer keeps the focus after sending")
    }

    function test_theWindowsShortcutsAndEsc() {
        const content = openMainWindow()
        testApp.startDemo(true)
        tryCompare(testApp, "screen", "staffHome", 20000)
        const list = findChild(content, "conversationList")
        tryVerify(() => list.count > 1 && list.activeFocus, 10000)
        const sheets = findChild(content, "sheets")

        // With nothing open, Ctrl+F goes to the list's search.
        keyClick(Qt.Key_F, Qt.ControlModifier)
        verify(findChild(content, "listSearchField").activeFocus)

        // Ctrl+N from the list: the invite sheet; Esc closes it and the focus comes back.
        keyClick(Qt.Key_Down)
        verify(list.activeFocus)
        keyClick(Qt.Key_N, Qt.ControlModifier)
        tryCompare(sheets.inviteSheet, "opened", true)
        verify(testApp.isInviteSheetPresented)
        keyClick(Qt.Key_Escape)
        tryCompare(sheets.inviteSheet, "visible", false)
        verify(!testApp.isInviteSheetPresented)
        tryVerify(() => list.activeFocus, 2000, "the list has the focus again")

        // Open a conversation: the focus is in the composer.
        keyClick(Qt.Key_Return)
        tryVerify(() => findChild(content, "composerField") !== null
                  && findChild(content, "composerField").activeFocus, 5000)
        const field = findChild(content, "composerField")

        // Ctrl+Shift+N from the composer: the group editor; Esc closes it.
        keyClick(Qt.Key_N, Qt.ControlModifier | Qt.ShiftModifier)
        tryCompare(sheets.groupEditor, "opened", true)
        verify(testApp.isNewGroupRequested)
        verify(findChild(sheets.groupEditor.contentItem, "groupNameInput").input.activeFocus)
        keyClick(Qt.Key_Escape)
        tryCompare(sheets.groupEditor, "visible", false)
        verify(!testApp.isNewGroupRequested)
        tryVerify(() => field.activeFocus, 2000, "the composer has the focus again")

        // Ctrl+N from the composer too.
        keyClick(Qt.Key_N, Qt.ControlModifier)
        tryCompare(sheets.inviteSheet, "opened", true)
        keyClick(Qt.Key_Escape)
        tryCompare(sheets.inviteSheet, "visible", false)

        // Ctrl+F from the composer: the chat's search; Esc closes it.
        const bar = findChild(content, "searchBar")
        keyClick(Qt.Key_F, Qt.ControlModifier)
        tryVerify(() => bar.visible && findChild(bar, "searchField").activeFocus)
        keyClick(Qt.Key_Escape)
        verify(!bar.visible)
        verify(field.activeFocus)

        // And from the messages, where Esc closes it as well.
        const messages = findChild(content, "messageList")
        messages.forceActiveFocus()
        keyClick(Qt.Key_F, Qt.ControlModifier)
        tryVerify(() => bar.visible && findChild(bar, "searchField").activeFocus)
        messages.forceActiveFocus()
        keyClick(Qt.Key_Escape)
        verify(!bar.visible)

        // From a button of the search bar, Esc too.
        keyClick(Qt.Key_F, Qt.ControlModifier)
        tryVerify(() => bar.visible)
        findChild(bar, "searchDoneButton").forceActiveFocus()
        keyClick(Qt.Key_Escape)
        verify(!bar.visible)

        // A focused button takes Enter as well as Space.
        keyClick(Qt.Key_F, Qt.ControlModifier)
        tryVerify(() => bar.visible)
        findChild(bar, "searchDoneButton").forceActiveFocus()
        keyClick(Qt.Key_Return)
        verify(!bar.visible)
    }
}
