import QtQuick
import QtTest
import Brevio
import BrevioTest

// Every control a person can reach on the main screens has an accessible name: the test walks
// each screen's item tree (and the sheets' and the settings window's) and lists any visible,
// enabled button, field, picker or tab stop whose Accessible.name is empty.
TestCase {
    id: test
    name: "AccessibleNames"
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
    Component {
        id: settingsWindow
        SettingsWindow { app: testApp; visible: true }
    }

    function cleanup() {
        testApp.showsInspector = false
        testApp.isInviteSheetPresented = false
        testApp.isNewGroupRequested = false
        if (testApp.screen !== "login") {
            testApp.signOut()
            tryCompare(testApp, "screen", "login", 20000)
        }
    }

    // What a person can press, type in, choose from or reach with Tab.
    function isControl(item) {
        if (item.activeFocusOnTab === true)
            return true
        if (item.clicked !== undefined && item.checkable !== undefined && item.pressed !== undefined)
            return true // a button, a switch, a tab, a menu entry
        if (item.cursorPosition !== undefined && item.readOnly === false)
            return true // a field
        if (item.textRole !== undefined && item.currentIndex !== undefined)
            return true // a picker
        return false
    }
    function describe(item) {
        const what = String(item).split("(")[0]
        const label = item.text !== undefined && String(item.text).length > 0
                ? " \"" + item.text + "\""
                : item.placeholderText ? " (placeholder \"" + item.placeholderText + "\")" : ""
        const within = []
        for (let p = item.parent; p && within.length < 3; p = p.parent) {
            if (p.objectName)
                within.push(p.objectName)
        }
        return (item.objectName || what) + label + " in " + within.join(" < ")
    }
    // The unnamed controls under `root`; `seen.count` says how many controls were looked at.
    function unnamed(root, seen) {
        const missing = []
        function walk(item) {
            if (!item || item.visible === false)
                return
            if (item.enabled !== false && item.width > 0 && item.height > 0 && isControl(item)) {
                if (seen)
                    ++seen.count
                if (String(item.Accessible.name || "").trim().length === 0)
                    missing.push(describe(item))
            }
            for (let i = 0; i < item.children.length; ++i)
                walk(item.children[i])
        }
        walk(root)
        return missing
    }
    function expectAllNamed(root, screen, atLeast) {
        const seen = { count: 0 }
        const missing = unnamed(root, seen)
        verify(missing.length === 0, screen + ": no accessible name on " + missing.join("; "))
        verify(seen.count >= (atLeast || 1), screen + ": only " + seen.count + " controls seen")
    }
    // Opens a popup, checks it, closes it.
    function expectPopupNamed(popup, screen, atLeast) {
        popup.open()
        tryCompare(popup, "opened", true)
        expectAllNamed(popupItem(popup), screen, atLeast)
        popup.close()
        tryCompare(popup, "visible", false)
    }
    function segment(picker, label) {
        function find(item) {
            if (item.text === label && item.clicked !== undefined)
                return item
            for (let i = 0; i < item.children.length; ++i) {
                const found = find(item.children[i])
                if (found)
                    return found
            }
            return null
        }
        return find(picker)
    }
    // A popup's own item, with its header, content and footer.
    function popupItem(popup) { return popup.contentItem.parent }

    // The walker itself: it finds a button and a field without names, and passes named ones.
    Component {
        id: unnamedControls
        Item {
            width: 200; height: 100
            Column {
                IconButton { objectName: "silentButton"; symbol: "ellipsis" }
                IconButton { symbol: "ellipsis"; help: "Altro" }
                FormField { label: "" }
                FormField { label: "Email" }
                Item { objectName: "tabStop"; width: 10; height: 10; activeFocusOnTab: true }
                IconButton { symbol: "ellipsis"; visible: false }
                IconButton { symbol: "ellipsis"; enabled: false }
            }
        }
    }
    function test_theWalkerFindsWhatHasNoName() {
        const item = createTemporaryObject(unnamedControls, test)
        const missing = unnamed(item)
        compare(missing.length, 3, missing.join("; "))
        verify(missing[0].startsWith("silentButton"), missing[0])
        verify(missing[2].startsWith("tabStop"), missing[2])
    }

    function test_theLoginInEachMode() {
        const content = openMainWindow()
        tryVerify(() => findChild(content, "modePicker") !== null)
        const advanced = findChild(content, "advancedToggle")
        advanced.toggle()
        advanced.toggled()
        verify(findChild(content, "serverField").visible)
        const picker = findChild(content, "modePicker")
        for (const mode of ["Accedi", "Nuova richiesta", "Ho un invito"]) {
            segment(picker, mode).clicked()
            expectAllNamed(content, "login, " + mode)
        }
        segment(picker, "Accedi").clicked()
    }

    function test_theStaffHomeWithAChatTheSearchAndEachInspector() {
        desktop.show(true)
        const content = openMainWindow()
        testApp.startDemo(true)
        tryCompare(testApp, "screen", "staffHome", 20000)
        const list = findChild(content, "conversationList")
        tryVerify(() => list.count > 1, 10000)
        expectAllNamed(content, "staff home, nothing open")

        testApp.showsInspector = true
        expectAllNamed(content, "organisation inspector")
        const conversations = findChild(content, "conversationsView").list
        const seen = {}
        for (let row = 0; row < list.count; ++row) {
            testApp.selectConversation(conversations.idAt(row))
            tryVerify(() => findChild(content, "chatView") !== null
                      && findChild(content, "chatView").chat.conversationID === testApp.selectedConversationID, 10000)
            const shows = findChild(content, "inspectorPane").shows
            if (seen[shows])
                continue
            seen[shows] = true
            findChild(content, "chatView").openSearch()
            expectAllNamed(content, "staff home, " + shows + " conversation with its search", 10)
            findChild(content, "chatView").closeSearch()
        }

        // The chat's dialogs, and a message's menu opened from the keyboard, in the most recent
        // conversation (it has messages). The dialogs come first: the composer takes the focus
        // once the conversation is open, the menu should keep it.
        testApp.selectConversation(conversations.idAt(0))
        const messages = findChild(content, "messageList")
        tryVerify(() => messages.count > 0, 10000)
        for (const name of ["messageInfo", "alertDialog", "deleteDialog"])
            expectPopupNamed(findChild(content.Window.window, name), name)
        tryVerify(() => findChild(content, "composerField").activeFocus)
        messages.forceActiveFocus()
        tryVerify(() => messages.currentIndex >= 0)
        keyClick(Qt.Key_Menu)
        const menu = findChild(content.Window.window, "actionsMenu")
        tryCompare(menu, "opened", true)
        expectAllNamed(popupItem(menu), "a message's menu")
        menu.close()
        tryCompare(menu, "visible", false)
        verify(seen["client"] && seen["group"], JSON.stringify(seen))
    }

    function test_theSheets() {
        const content = openMainWindow()
        testApp.startDemo(true)
        tryCompare(testApp, "screen", "staffHome", 20000)
        const sheets = findChild(content, "sheets")
        testApp.isInviteSheetPresented = true
        tryCompare(sheets.inviteSheet, "opened", true)
        expectAllNamed(popupItem(sheets.inviteSheet), "invite sheet", 5)
        testApp.isInviteSheetPresented = false
        tryCompare(sheets.inviteSheet, "visible", false)

        testApp.isNewGroupRequested = true
        tryCompare(sheets.groupEditor, "opened", true)
        const people = findChild(sheets.groupEditor.contentItem, "groupCandidates")
        // Laid out, with its rows.
        tryVerify(() => people.count > 0 && people.height > 0 && people.itemAtIndex(0) !== null
                  && people.itemAtIndex(0).width > 0)
        expectAllNamed(popupItem(sheets.groupEditor), "group editor", 5)
    }

    function test_theClientHome() {
        const content = openMainWindow()
        testApp.startDemo(false)
        tryCompare(testApp, "screen", "clientHome", 20000)
        tryVerify(() => findChild(content, "messageList") !== null
                  && findChild(content, "messageList").count > 0, 10000)
        expectAllNamed(content, "client home", 3)
        expectPopupNamed(findChild(content.Window.window, "accountMenu"), "the client's account menu", 2)
    }

    function test_eachTabOfTheSettings() {
        testApp.startDemo(true)
        tryCompare(testApp, "screen", "staffHome", 20000)
        const window = createTemporaryObject(settingsWindow, test)
        // The window's own item holds the tab bar (its header) and the content.
        const whole = window.contentItem.parent
        const tabs = findChild(whole, "settingsTabs")
        verify(tabs)
        for (let i = 0; i < tabs.count; ++i) {
            window.currentTab = i
            expectAllNamed(whole, "settings, tab " + tabs.itemAt(i).text)
        }
        window.currentTab = 0
        expectPopupNamed(findChild(window, "signOutConfirmation"), "the sign-out confirmation", 2)
    }
}
