import QtQuick
import QtQuick.Controls
import QtTest
import Brevio

// The chat view over the staff demo: the composer, the list's rows and menus, search, the empty
// state and where an opened conversation lands. What the demo cannot do (a refused message, a
// lost connection) runs over `testServer`, a server that fails when told to, with its own model.
TestCase {
    id: test
    name: "ChatView"
    when: windowShown
    visible: true // the views under test are created inside it
    width: 1000
    height: 720

    ConversationListModel { id: summary; app: testApp }

    Component {
        id: chatView
        ChatView { app: testApp }
    }

    ConversationListModel { id: serverSummary; app: testServer.app }
    Component {
        id: serverChatView
        ChatView { app: testServer.app }
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
        return summary.idForTitle(title)
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
    // The chat of `title` on the test server, signed in as its staff member and online.
    function openOnTestServer(title) {
        testServer.setReachable(true)
        testServer.signInAsStaff()
        tryCompare(testServer.app, "screen", "staffHome", 10000)
        testServer.app.retryNow() // after a test that left it waiting to reconnect
        let id = ""
        tryVerify(() => {
            id = serverSummary.idForTitle(title)
            return id.length > 0
        })
        testServer.app.selectConversation(id)
        const view = createTemporaryObject(serverChatView, test, {
            conversationID: id, width: test.width, height: test.height
        })
        verify(view)
        tryVerify(() => view.chat.online && list(view).count > 0, 10000)
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
        type("prima")
        keyClick(Qt.Key_Return, Qt.ShiftModifier)
        type("seconda")
        keyClick(Qt.Key_Return, Qt.AltModifier)
        type("terza")
        compare(field(view).text, "prima\nseconda\nterza")
        compare(view.chat.draft, "prima\nseconda\nterza")
        verify(!rowWhere(view, r => r.text.startsWith("prima")), "a line break sends nothing")

        keyClick(Qt.Key_Return)
        compare(field(view).text, "")
        // The new bubble is the newest row (answers from earlier tests may come in after it).
        verify(l.itemAtIndex(0) && l.itemAtIndex(0).text === "prima\nseconda\nterza")
        verify(l.itemAtIndex(0).mine)
        tryVerify(() => l.atYEnd)
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
        keyClick(Qt.Key_Return)
        compare(field(view).text.length, 4001, "nothing was sent")
        verify(!rowWhere(view, r => r.text.length === 4001))

        field(view).text = "b".repeat(4000)
        verify(!tooLong.visible)
        verify(sendButton.enabled)
        compare(sendButton.Accessible.name, "Invia")
        mouseClick(sendButton)
        tryVerify(() => rowWhere(view, r => r.mine && r.text === "b".repeat(4000)) !== null)
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
        verify(!findChild(deleted, "moreButton"), "no actions on a deleted message")
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
        const shown = () => findChild(rowWhere(view, r => r.rowID === sent.rowID), "messageText")
        verify(findChild(rowWhere(view, r => r.rowID === sent.rowID), "matchOutline").visible)
        compare(shown().textFormat, Text.RichText, "the match is highlighted")

        findChild(view, "searchField").text = ""
        type("zzqqxx")
        compare(status.text, "Nessun risultato")
        // No longer a match: the plain words again, not the markup of the highlight.
        compare(shown().textFormat, Text.PlainText)
        compare(shown().text, "Controllate il tachimetro digitale")

        keyClick(Qt.Key_Escape)
        verify(!bar.visible)
        compare(view.chat.searchQuery, "")
        tryVerify(() => field(view).activeFocus)
    }

    // The words are drawn by a Text; the pointer on the row brings an editor with the same layout,
    // which keeps a selection after the pointer leaves and goes once the selection does.
    function test_theWordsOfAMessageCanBeSelected() {
        const view = open("Officina Gatti")
        tryVerify(() => list(view).count > 0)
        const words = "Domani passo in officina a ritirare il furgone: avete già finito il tagliando "
                    + "e il cambio delle gomme anteriori?\nGrazie mille"
        const row = send(view, words)
        const text = findChild(row, "messageText")
        mouseMove(field(view), 5, 5)
        tryVerify(() => findChild(row, "selectableText") === null, 5000, "no editor while away")
        compare(text.opacity, 1)

        mouseMove(text, 5, 5)
        let editor = null
        tryVerify(() => (editor = findChild(row, "selectableText")) !== null)
        compare(editor.text, words)
        verify(text.lineCount >= 3, "wrapped as well as broken: " + text.lineCount)
        compare(editor.lineCount, text.lineCount)
        compare(editor.height, text.height)
        compare(editor.positionToRectangle(words.length - 1).y,
                text.height - editor.positionToRectangle(0).height, "the last line at the bottom")
        compare(text.opacity, 0, "the editor's words in place of the Text's")

        mouseDrag(editor, 2, editor.positionToRectangle(0).height / 2, 60, 0)
        verify(editor.selectedText.length > 0, "dragging selects")
        verify(editor.activeFocus, "and takes the keyboard, for Ctrl+C")
        verify(!findChild(row, "matchOutline"), "no keyboard ring on the row for it")
        mouseMove(field(view), 5, 5)
        wait(50)
        compare(findChild(row, "selectableText"), editor, "the selection outlives the pointer")

        mouseClick(field(view))
        tryVerify(() => findChild(row, "selectableText") === null)
        compare(text.opacity, 1)
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
        const view = open("Studio Bassi Architetti", 300)
        const l = list(view)
        tryVerify(() => l.count > 0)
        const button = findChild(view, "toBottomButton")
        send(view, "Ci sentiamo domani per il preventivo?")

        // Paolo's automatic answer: first he types, then his message comes in while the list is
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

    // Whether the row at `index` is on screen.
    function onScreen(l, index) {
        const row = l.itemAtIndex(index)
        return row !== null && row.y + row.height > l.contentY && row.y < l.contentY + l.height
    }

    function test_reactingAndTakingTheReactionBack() {
        const view = open("Panificio Orlandi")
        tryVerify(() => rowWhere(view, r => r.text === "Perfetto, grazie!") !== null)
        const rowID = rowWhere(view, r => r.text === "Perfetto, grazie!").rowID
        const chips = () => {
            const row = rowWhere(view, r => r.rowID === rowID)
            const found = []
            // The reactions' row exists only while there are reactions.
            const reactions = findChild(row, "reactions")
            for (let i = 0; reactions && i < reactions.children.length; ++i)
                if (reactions.children[i].objectName === "reaction")
                    found.push(reactions.children[i])
            return found
        }

        // The demo has Marta's heart on it: hers, so clicking takes it back.
        tryCompare(chips(), "length", 1)
        compare(chips()[0].Accessible.name, "Togli la reazione")
        mouseMove(chips()[0], 5, 5)
        tryVerify(() => chips()[0].ToolTip.toolTip.visible, 3000, "hovering one's own says so")
        compare(chips()[0].ToolTip.toolTip.text, "Togli la reazione")
        mouseClick(chips()[0])
        tryVerify(() => chips().length === 0, 10000)

        // From the menu: the palette, and the chosen emoji shows as her reaction.
        pick(openMenu(view, rowWhere(view, r => r.rowID === rowID)), "Reagisci")
        const palette = findChild(view, "reactionPalette")
        tryCompare(palette, "opened", true)
        const choices = []
        for (const emoji of view.chat.palette())
            choices.push(emoji)
        compare(choices.length, 6)
        mouseClick(findChild(palette.contentItem, "paletteEmoji"))
        tryCompare(palette, "opened", false)
        tryVerify(() => chips().length === 1, 10000)
        compare(chips()[0].modelData.emoji, choices[0])
        verify(chips()[0].modelData.mine)
    }

    function test_aQuoteGoesToTheQuotedMessage() {
        const view = open("Officina Gatti", 260)
        const l = list(view)
        const replyText = "Fatto: da stasera la copia parte da sola alle 22. Vi arriva un'email di conferma."
        const quotedText = "Certo, la impostiamo questa settimana. Vi va bene alle 22?"
        tryVerify(() => rowWhere(view, r => r.text === replyText) !== null)
        const reply = rowWhere(view, r => r.text === replyText)
        const quoted = view.chat.rowOfSeq(reply.quote.seq)
        verify(quoted > reply.index)
        compare(findChild(reply, "quoteTitle").text, "Risposta a Marta Ferri")
        compare(findChild(reply, "quoteText").text, quotedText)

        // The reply at the bottom of the list, the message it quotes out of sight above it.
        l.positionViewAtIndex(reply.index, ListView.Beginning)
        tryVerify(() => onScreen(l, reply.index) && !onScreen(l, quoted))
        const quote = findChild(l.itemAtIndex(reply.index), "quoteView")
        compare(quote.Accessible.name, "Vai al messaggio")
        mouseClick(quote)
        tryVerify(() => onScreen(l, quoted))
        compare(l.itemAtIndex(quoted).text, quotedText)
    }

    function test_searchStepsThroughTheMatches() {
        const view = open("Panificio Orlandi", 300)
        const l = list(view)
        tryVerify(() => l.count > 0)
        keyClick(Qt.Key_F, Qt.ControlModifier)
        const searchField = findChild(view, "searchField")
        tryVerify(() => searchField.activeFocus)
        type("menu") // finds "menù" too
        const status = findChild(view, "searchStatus")
        compare(status.text, "1 di 2")
        const newer = view.chat.currentMatchRow
        tryVerify(() => onScreen(l, newer))

        // Enter steps to the older match and shows it; "Successivo" comes back.
        keyClick(Qt.Key_Return)
        compare(status.text, "2 di 2")
        const older = view.chat.currentMatchRow
        verify(older > newer)
        tryVerify(() => onScreen(l, older))
        verify(l.itemAtIndex(older).currentMatch)
        verify(!findChild(view, "searchOlderButton").visible, "the whole history is loaded")

        // Away from the newest messages the bar offers the way back.
        const back = findChild(view, "backToNewestButton")
        tryVerify(() => !l.atYEnd)
        verify(back.visible)
        waitForRendering(view) // the bar laid out again with the new button
        mouseClick(findChild(view, "nextMatchButton"))
        compare(status.text, "1 di 2")
        mouseClick(back)
        tryVerify(() => l.atYEnd)
        verify(!back.visible)
    }

    function test_messageInfoListsTheOthers() {
        const view = open("Officina Gatti")
        tryVerify(() => list(view).count > 0)
        const mine = send(view, "Vi mando la fattura in giornata")
        pick(openMenu(view, mine), "Info messaggio…")
        const info = findChild(view, "messageInfo")
        tryCompare(info, "opened", true)
        compare(info.title, "Info messaggio")
        tryVerify(() => !view.chat.infoLoading && view.chat.infoRows.length > 0, 10000)
        const rows = []
        const collect = (item) => {
            if (item.objectName === "infoRow")
                rows.push(item)
            for (let i = 0; i < item.children.length; ++i)
                collect(item.children[i])
        }
        tryVerify(() => { rows.length = 0; collect(info.contentItem); return rows.length > 0 })
        compare(rows.length, view.chat.infoRows.length)
        const first = view.chat.infoRows[0]
        compare(first.name, "Luca Gatti")
        compare(rows[0].Accessible.name, first.name + ": " + first.status)
        info.close()
        tryCompare(info, "opened", false)
    }

    function test_eachConversationKeepsItsDraft() {
        const view = open("Officina Gatti")
        tryVerify(() => list(view).count > 0)
        field(view).forceActiveFocus()
        type("bozza per Luca")
        view.conversationID = conversationID("Panificio Orlandi")
        tryCompare(field(view), "text", "")
        tryVerify(() => field(view).activeFocus, 2000, "a newly opened conversation focuses the field")
        type("bozza per Giulia")
        view.conversationID = conversationID("Officina Gatti")
        tryCompare(field(view), "text", "bozza per Luca")
        view.conversationID = conversationID("Panificio Orlandi")
        tryCompare(field(view), "text", "bozza per Giulia")
        field(view).text = ""
        view.conversationID = conversationID("Officina Gatti")
        field(view).text = ""
    }

    function test_aRefusedMessageIsRetriedOrDiscarded() {
        const view = openOnTestServer("Officina Gatti")
        const text = "Il preventivo arriva domani"
        const rowOf = () => rowWhere(view, r => r.kind === "message" && r.text === text)

        testServer.refuseNextMessage()
        field(view).forceActiveFocus()
        field(view).text = text
        keyClick(Qt.Key_Return)
        tryVerify(() => rowOf() && rowOf().delivery === "failed", 10000, "refused")
        let row = rowOf()
        verify(row.pending)
        compare(findChild(row, "failureText").text,
                "Non inviato: Troppi tentativi. Riprova tra qualche minuto.")
        verify(findChild(row, "failureRow").visible)
        compare(findChild(row, "retryButton").text, "Riprova")
        compare(findChild(row, "discardButton").text, "Elimina")
        compare(findChild(row, "ticks").text, "Non inviato")

        // Sent again, the server takes it: one row, no longer failed or waiting.
        mouseClick(findChild(row, "retryButton"))
        tryVerify(() => rowOf() && !rowOf().pending, 10000, "accepted on the retry")
        row = rowOf()
        compare(row.delivery, "sent")
        verify(!findChild(row, "failureRow"), "no failure line once sent")
        let copies = 0
        for (let i = 0; i < list(view).count; ++i) {
            const r = list(view).itemAtIndex(i)
            if (r && r.kind === "message" && r.text === text)
                ++copies
        }
        compare(copies, 1)

        // Refused again and discarded: the row goes, nothing is sent.
        const second = "Questo non parte"
        testServer.refuseNextMessage()
        field(view).text = second
        keyClick(Qt.Key_Return)
        tryVerify(() => {
            const r = rowWhere(view, r => r.text === second)
            return r && r.delivery === "failed"
        }, 10000)
        mouseClick(findChild(rowWhere(view, r => r.text === second), "discardButton"))
        tryVerify(() => rowWhere(view, r => r.text === second) === null)
    }

    // Clicks `button` once the banner it sits in has slid open far enough to show all of it.
    function clickWhenOpen(button, banner) {
        tryVerify(() => button.visible && button.mapToItem(banner, 0, 0).y >= 0
                        && button.mapToItem(banner, 0, button.height).y <= banner.height)
        mouseClick(button)
    }

    function test_theBannerWhileTheServerIsOutOfReach() {
        const view = openOnTestServer("Panificio Orlandi")
        const banner = findChild(view, "connectionBanner")
        const bannerText = findChild(view, "bannerText")
        const retryNow = findChild(view, "retryNowButton")
        verify(!banner.visible)
        compare(findChild(view, "connectionIndicator").label, "Collegato")

        // The connection goes and the server cannot be reached: the next attempt is a minute away.
        testServer.setReachable(false)
        testServer.dropConnections()
        tryVerify(() => banner.visible && bannerText.text.startsWith("Connessione persa."), 10000)
        verify(/^Connessione persa\. Nuovo tentativo tra \d+ s\.$/.test(bannerText.text),
               bannerText.text)
        verify(retryNow.visible)
        compare(retryNow.text, "Riprova ora")
        compare(findChild(view, "connectionIndicator").label, "Riconnessione…")
        verify(!view.chat.online)

        // Trying at once while it is still out of reach: one more attempt, and the wait again.
        const attempts = testServer.connectionAttempts()
        clickWhenOpen(retryNow, banner)
        tryVerify(() => testServer.connectionAttempts() === attempts + 1)
        tryVerify(() => retryNow.visible && bannerText.text.startsWith("Connessione persa."),
                  10000)
        verify(!view.chat.online)

        // Back in reach: "Riprova ora" brings the session online and the banner away.
        testServer.setReachable(true)
        clickWhenOpen(retryNow, banner)
        tryVerify(() => view.chat.online, 10000)
        tryCompare(banner, "visible", false)
        compare(findChild(view, "connectionIndicator").label, "Collegato")
        compare(testServer.connectionAttempts(), attempts + 2)
    }
}
