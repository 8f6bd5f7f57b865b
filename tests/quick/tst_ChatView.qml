import QtQuick
import QtTest
import Brevio

// The chat view over the staff demo: the composer, the list's rows and menus, search, the empty
// state and where an opened conversation lands.
TestCase {
    id: test
    name: "ChatView"
    when: windowShown
    visible: true // the views under test are created inside it
    width: 1000
    height: 720

    HomeSummary { id: summary; app: testApp }

    Component {
        id: chatView
        ChatView { app: testApp }
    }

    function initTestCase() {
        testApp.startDemo(true)
        tryCompare(testApp, "screen", "staffHome", 20000)
        tryVerify(() => conversationID("Officina Gatti").length > 0, 10000)
    }
    function cleanupTestCase() {
        testApp.signOut()
        tryCompare(testApp, "screen", "login", 20000)
    }

    function conversationID(title) {
        for (const c of summary.conversations)
            if (c.title === title)
                return c.id
        return ""
    }
    // The chat of the conversation titled `title`, once its rows are in.
    function open(title, height) {
        const id = conversationID(title)
        verify(id.length > 0, title)
        testApp.selectConversation(id)
        const view = createTemporaryObject(chatView, test, {
            conversationID: id, width: test.width, height: height || test.height
        })
        verify(view)
        return view
    }
    function list(view) { return findChild(view, "messageList") }
    function field(view) { return findChild(view, "composerField") }
    function rowWhere(view, test) {
        const l = list(view)
        for (let i = 0; i < l.count; ++i) {
            const row = l.itemAtIndex(i)
            if (row && test(row))
                return row
        }
        return null
    }
    function type(text) {
        for (const c of text)
            keyClick(c)
    }
    // Sends `text` from the composer and waits until the server has it.
    function send(view, text) {
        field(view).forceActiveFocus()
        field(view).text = text
        keyClick(Qt.Key_Return)
        tryVerify(() => rowWhere(view, r => r.kind === "message" && r.text === text && !r.pending),
                  10000, "accepted: " + text)
        return rowWhere(view, r => r.kind === "message" && r.text === text)
    }
    function openMenu(view, row) {
        const body = findChild(row, "bubbleBody")
        verify(body)
        mouseClick(body, body.width / 2, body.height / 2, Qt.RightButton)
        const menu = findChild(view, "actionsMenu")
        tryCompare(menu, "opened", true)
        // Laid out: the last entry sits below the first.
        tryVerify(() => menu.count < 2 || menu.itemAt(menu.count - 1).y > 0)
        return menu
    }
    function menuTexts(menu) {
        const texts = []
        for (let i = 0; i < menu.count; ++i)
            texts.push(menu.itemAt(i).text)
        return texts
    }
    function pick(menu, text) {
        for (let i = 0; i < menu.count; ++i) {
            if (menu.itemAt(i).text === text) {
                mouseClick(menu.itemAt(i))
                tryCompare(menu, "opened", false)
                return
            }
        }
        fail("no menu entry " + text)
    }

    function test_enterSendsAndAltOrShiftEnterBreakTheLine() {
        const view = open("Officina Gatti")
        const l = list(view)
        tryVerify(() => l.count > 0)
        tryVerify(() => field(view).activeFocus, 2000, "the field has the focus on opening")
        const before = l.count

        type("prima")
        keyClick(Qt.Key_Return, Qt.ShiftModifier)
        type("seconda")
        keyClick(Qt.Key_Return, Qt.AltModifier)
        type("terza")
        compare(field(view).text, "prima\nseconda\nterza")
        compare(l.count, before, "a line break sends nothing")
        compare(view.chat.draft, "prima\nseconda\nterza")

        keyClick(Qt.Key_Return)
        compare(field(view).text, "")
        tryVerify(() => l.itemAtIndex(0) && l.itemAtIndex(0).text === "prima\nseconda\nterza")
        verify(l.itemAtIndex(0).mine)
        verify(l.atYEnd)
    }

    function test_theLengthLimit() {
        const view = open("Officina Gatti")
        const l = list(view)
        tryVerify(() => l.count > 0)
        const tooLong = findChild(view, "tooLongText")
        const sendButton = findChild(view, "sendButton")

        field(view).forceActiveFocus()
        field(view).text = "a".repeat(4001)
        compare(tooLong.text, "Troppo lungo: 4001 caratteri su 4000")
        verify(tooLong.visible)
        verify(!sendButton.enabled)
        const newest = l.itemAtIndex(0).rowID
        keyClick(Qt.Key_Return)
        compare(field(view).text.length, 4001, "nothing was sent")
        compare(l.itemAtIndex(0).rowID, newest)

        field(view).text = "b".repeat(4000)
        verify(!tooLong.visible)
        verify(sendButton.enabled)
        compare(sendButton.Accessible.name, "Invia")
        mouseClick(sendButton)
        tryVerify(() => l.itemAtIndex(0).text === "b".repeat(4000))
        compare(field(view).text, "")
    }

    function test_replyStripAndEscape() {
        const view = open("Panificio Orlandi")
        tryVerify(() => rowWhere(view, r => r.text === "Perfetto, grazie!") !== null)
        const theirs = rowWhere(view, r => r.text === "Perfetto, grazie!")
        verify(!theirs.mine)

        pick(openMenu(view, theirs), "Rispondi")
        const strip = findChild(view, "replyStrip")
        tryVerify(() => strip.visible)
        compare(findChild(view, "replyText").text, "Risposta a Giulia Orlandi")
        tryVerify(() => field(view).activeFocus, 2000, "replying focuses the field")

        keyClick(Qt.Key_Escape)
        verify(!strip.visible)
        verify(!view.chat.replying)
    }

    function test_theMenuOfAFreshOwnMessageAndItsActions() {
        const view = open("Officina Gatti")
        tryVerify(() => list(view).count > 0)
        const mine = send(view, "Messaggio da correggere")

        const menu = openMenu(view, mine)
        compare(menuTexts(menu), ["Reagisci", "Rispondi", "Copia il testo", "Modifica",
                                  "Info messaggio…", "Elimina per tutti…"])

        // Editing: the strip, the text in the field, the save button; Esc leaves it.
        pick(menu, "Modifica")
        const editStrip = findChild(view, "editStrip")
        tryVerify(() => editStrip.visible)
        compare(field(view).text, "Messaggio da correggere")
        compare(findChild(view, "sendButton").Accessible.name, "Salva la modifica")
        compare(field(view).placeholderText, "Correggi il messaggio")
        tryVerify(() => field(view).activeFocus)
        keyClick(Qt.Key_Escape)
        verify(!editStrip.visible)
        compare(field(view).text, "")

        // Saving an edit marks the bubble.
        pick(openMenu(view, mine), "Modifica")
        field(view).text = "Messaggio corretto"
        keyClick(Qt.Key_Return)
        const rowID = mine.rowID
        tryVerify(() => {
            const r = rowWhere(view, r => r.rowID === rowID)
            return r && r.text === "Messaggio corretto" && r.edited
        }, 10000)
        verify(findChild(rowWhere(view, r => r.rowID === rowID), "editedLabel").visible)

        // Deleting asks first, then the bubble says so.
        pick(openMenu(view, rowWhere(view, r => r.rowID === rowID)), "Elimina per tutti…")
        const dialog = findChild(view, "deleteDialog")
        tryCompare(dialog, "opened", true)
        compare(dialog.title, "Eliminare il messaggio per tutti?")
        mouseClick(findChild(view, "confirmDeleteButton"))
        tryVerify(() => {
            const r = rowWhere(view, r => r.rowID === rowID)
            return r && r.deleted
        }, 10000)
        const deleted = rowWhere(view, r => r.rowID === rowID)
        compare(findChild(deleted, "deletedText").text, "Hai eliminato questo messaggio")
        compare(view.chat.actions(rowID).length, 0)
        verify(!findChild(deleted, "moreButton").visible)
    }

    function test_searchFindsASentWordAndSaysWhenNothingMatches() {
        const view = open("Officina Gatti")
        tryVerify(() => list(view).count > 0)
        const sent = send(view, "Controllate il tachimetro digitale")
        const bar = findChild(view, "searchBar")
        verify(!bar.visible)

        keyClick(Qt.Key_F, Qt.ControlModifier)
        tryVerify(() => bar.visible && findChild(view, "searchField").activeFocus)
        type("tachimetro")
        const status = findChild(view, "searchStatus")
        compare(status.text, "1 di 1")
        tryVerify(() => rowWhere(view, r => r.rowID === sent.rowID).currentMatch)
        verify(findChild(rowWhere(view, r => r.rowID === sent.rowID), "matchOutline").visible)

        findChild(view, "searchField").text = ""
        type("zzqqxx")
        compare(status.text, "Nessun risultato")

        keyClick(Qt.Key_Escape)
        verify(!bar.visible)
        compare(view.chat.searchQuery, "")
        tryVerify(() => field(view).activeFocus)
    }

    function test_anEmptyConversationSaysSo() {
        const view = open("Agriturismo Le Querce")
        const empty = findChild(view, "emptyState")
        tryVerify(() => empty.visible)
        compare(findChild(view, "emptyTitle").text, "Ancora nessun messaggio")
        compare(findChild(view, "emptyHint").text, "Scrivi il primo messaggio a questo cliente.")
        compare(list(view).count, 0)
    }

    function test_openingLandsOnTheUnreadSeparator() {
        const view = open("Ferramenta Conti", 320)
        const l = list(view)
        tryVerify(() => l.count > 0)
        const unread = view.chat.unreadRow
        verify(unread >= 0, "the demo leaves Sara's last message unread")
        const separator = rowWhere(view, r => r.kind === "unread")
        verify(separator)
        compare(separator.separator, "1 messaggio non letto")
        // The separator is on screen.
        tryVerify(() => {
            const s = l.itemAtIndex(unread)
            return s && s.y + s.height > l.contentY && s.y < l.contentY + l.height
        })
    }

    function test_theTypingRowAndTheNewMessagesButton() {
        const view = open("Officina Gatti", 300)
        const l = list(view)
        tryVerify(() => l.count > 0)
        const button = findChild(view, "toBottomButton")
        send(view, "Ci sentiamo domani per il preventivo?")

        // Luca's automatic answer: first he types, then his message comes in while the list is
        // scrolled away from its end.
        const typing = findChild(view, "typingRow")
        tryVerify(() => typing.text.indexOf("sta scrivendo…") > 0, 10000)
        l.positionViewAtEnd() // the oldest rows
        tryVerify(() => !l.atYEnd)
        tryVerify(() => button.shown)
        const before = l.count
        tryVerify(() => l.count > before, 10000)
        tryCompare(button, "text", "Torna in fondo, 1 nuovi")

        mouseClick(button)
        tryVerify(() => l.atYEnd)
        tryCompare(button, "shown", false)
        verify(!l.itemAtIndex(0).mine)
        compare(button.text, "Torna in fondo")
    }

    function test_theKeyboardReachesTheMessagesAndTheirMenu() {
        const view = open("Panificio Orlandi")
        const l = list(view)
        tryVerify(() => l.count > 0)
        tryVerify(() => field(view).activeFocus)

        // Back from the field: the list, on the newest message; up is older.
        keyClick(Qt.Key_Backtab, Qt.ShiftModifier)
        tryVerify(() => l.activeFocus)
        compare(l.currentIndex, 0)
        verify(findChild(l.currentItem, "matchOutline").visible, "the current message is marked")
        keyClick(Qt.Key_Up)
        compare(l.currentIndex, 1)
        while (l.currentItem.kind !== "message")
            keyClick(Qt.Key_Up) // past the day separator

        // The menu key opens the current message's actions.
        const current = l.currentItem.rowID
        keyClick(Qt.Key_Menu)
        const menu = findChild(view, "actionsMenu")
        tryCompare(menu, "opened", true)
        compare(menuTexts(menu), view.chat.actions(current).map(a => a.text))
        keyClick(Qt.Key_Escape)
        tryCompare(menu, "opened", false)

        // Forward again: from the list to the field, whose Tab does not type a tab.
        l.forceActiveFocus()
        keyClick(Qt.Key_Tab)
        tryVerify(() => field(view).activeFocus)
        keyClick(Qt.Key_Tab)
        verify(!field(view).activeFocus)
        compare(field(view).text, "")
    }
}
