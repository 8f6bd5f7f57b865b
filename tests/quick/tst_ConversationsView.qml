import QtQuick
import QtTest
import Brevio
import BrevioTest

// The staff's home over the staff demo: the filter's "all read" state, finding a conversation by
// a message's text, opening a row with the mouse and the keyboard, Ctrl+F in the list.
TestCase {
    id: test
    name: "ConversationsView"
    when: windowShown
    visible: true // the views under test are created inside it
    width: 1100
    height: 720

    TestDesktop { id: desktop; app: testApp }

    Component {
        id: staffHome
        StaffHomeView { anchors.fill: parent; app: testApp }
    }

    function initTestCase() {
        testApp.startDemo(true)
        tryCompare(testApp, "screen", "staffHome", 20000)
    }
    function cleanupTestCase() {
        desktop.show(false)
        testApp.signOut()
        tryCompare(testApp, "screen", "login", 20000)
    }
    function init() {
        testApp.selectConversation("")
    }

    function makeHome() {
        const home = createTemporaryObject(staffHome, test)
        verify(home)
        const list = findChild(home, "conversationList")
        tryVerify(() => list.count > 1, 10000)
        return home
    }
    function segment(home, label) {
        const picker = findChild(home, "filterPicker")
        return findByText(picker, label)
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
    function typeInSearch(home, text) {
        const field = findChild(home, "listSearchField")
        field.forceActiveFocus()
        field.selectAll()
        keyClick(Qt.Key_Backspace)
        for (const c of text) {
            keyClick(c)
        }
        compare(field.text, text)
    }
    function titleAt(home, row) {
        const view = findChild(home, "conversationsView")
        return view.list.data(view.list.index(row, 0), Qt.UserRole + 2)
    }

    function test_nothingSelectedAsksToChoose() {
        const home = makeHome()
        const hint = findChild(home, "noSelection")
        verify(hint.visible)
        compare(findChild(hint, "emptyTitle").text, "Scegli una conversazione")
        compare(findChild(hint, "emptyText").text,
                "Aziende e gruppi sono a sinistra, in ordine di ultimo messaggio.")
        compare(findChild(home, "chatView"), null)
    }

    function test_unreadFilterWithEverythingReadSaysAllIsRead() {
        const home = makeHome()
        const view = findChild(home, "conversationsView")
        const list = findChild(home, "conversationList")
        mouseClick(segment(home, "Da leggere"))
        compare(view.list.filter, 1)
        tryVerify(() => list.count > 0, 5000, "the demo leaves something unread")
        verify(!findChild(home, "listEmptyState").visible)

        // Looking at each conversation reads it; the list empties row by row.
        desktop.show(true)
        while (list.count > 0) {
            const before = list.count
            testApp.selectConversation(view.list.idAt(0))
            tryVerify(() => list.count < before, 5000)
        }
        desktop.show(false)
        testApp.selectConversation("")
        const empty = findChild(home, "listEmptyState")
        verify(empty.visible)
        compare(findChild(empty, "emptyTitle").text, "Tutto letto")
        compare(findChild(empty, "emptyText").text, "Nessun messaggio da leggere.")
        verify(!list.visible)

        mouseClick(segment(home, "Tutte"))
        tryVerify(() => list.count > 1)
        verify(!empty.visible)
    }

    function test_searchFindsAConversationByAMessagesText() {
        const home = makeHome()
        const list = findChild(home, "conversationList")
        // Only a message of Studio Bassi's conversation says it; no title or name does.
        typeInSearch(home, "driver")
        tryCompare(list, "count", 1)
        compare(titleAt(home, 0), "Studio Bassi Architetti")

        typeInSearch(home, "nessuno lo dice")
        tryCompare(list, "count", 0)
        const empty = findChild(home, "listEmptyState")
        verify(empty.visible)
        compare(findChild(empty, "emptyTitle").text, "Nessun risultato per “nessuno lo dice”")

        keyClick(Qt.Key_Escape)
        compare(findChild(home, "listSearchField").text, "")
        tryVerify(() => list.count > 1)
    }

    function test_selectingARowOpensItInTheChatView() {
        const home = makeHome()
        const list = findChild(home, "conversationList")
        const view = findChild(home, "conversationsView")
        const id = view.list.idAt(1)
        tryVerify(() => list.itemAtIndex(1) !== null)
        mouseClick(list.itemAtIndex(1))
        compare(testApp.selectedConversationID, id)
        tryVerify(() => findChild(home, "chatView") !== null)
        const chat = findChild(home, "chatView")
        verify(chat.visible)
        compare(chat.conversationID, id)
        verify(!findChild(home, "noSelection").visible)
        tryVerify(() => list.itemAtIndex(1).selected)

        // An opened conversation takes the focus to its composer.
        const window = test.Window.window
        tryVerify(() => window.activeFocusItem && window.activeFocusItem.objectName === "composerField")

        // With the keyboard: Down to the next row, Enter opens it.
        list.forceActiveFocus()
        keyClick(Qt.Key_Down)
        compare(list.currentIndex, 2)
        let target = view.list.idAt(2)
        keyClick(Qt.Key_Return)
        compare(testApp.selectedConversationID, target)
        compare(chat.conversationID, target)
        list.forceActiveFocus()
        compare(list.currentIndex, 2)
        keyClick(Qt.Key_Up)
        keyClick(Qt.Key_Up)
        target = view.list.idAt(0)
        keyClick(Qt.Key_Enter)
        compare(testApp.selectedConversationID, target)

        // Ctrl+F from the list goes to the list's search, not the chat's.
        list.forceActiveFocus()
        keyClick(Qt.Key_F, Qt.ControlModifier)
        verify(findChild(home, "listSearchField").activeFocus)
    }

    function test_toolbarAsksForTheSheetsAndTheInspector() {
        const home = makeHome()
        const inspectorButton = findChild(home, "inspectorButton")
        const wasShown = testApp.showsInspector
        mouseClick(inspectorButton)
        compare(testApp.showsInspector, !wasShown)
        compare(findChild(home, "inspectorPane").visible, !wasShown)
        mouseClick(inspectorButton)
        compare(testApp.showsInspector, wasShown)
        // Changed elsewhere (the pane's own controls), the button follows.
        testApp.showsInspector = !wasShown
        compare(inspectorButton.shown, !wasShown)
        testApp.showsInspector = wasShown
        compare(inspectorButton.shown, wasShown)
        compare(inspectorButton.help, "Mostra o nascondi la scheda del cliente")
        compare(findChild(home, "newGroupButton").help,
                "Crea un gruppo con colleghi e clienti (Ctrl+Shift+N)")
        compare(findChild(home, "inviteButton").help,
                "Crea un codice di invito per un cliente (Ctrl+N)")
    }
}
