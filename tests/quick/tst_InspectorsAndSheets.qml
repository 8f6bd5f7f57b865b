import QtQuick
import QtQuick.Controls
import QtTest
import Brevio

// The inspectors and the sheets over the staff demo: inviting from a client's inspector, and a
// group made, grown, shrunk and left.
TestCase {
    id: test
    name: "InspectorsAndSheets"
    when: windowShown
    visible: true
    width: 1000
    height: 720

    ConversationListModel { id: summary; app: testApp }
    ClientInspectorModel { id: probe; app: testApp }

    Component {
        id: paneComponent
        InspectorPane { app: testApp; width: Theme.inspectorWidth; height: test.height }
    }
    Component {
        id: sheetsComponent
        Sheets { app: testApp }
    }

    function initTestCase() {
        testApp.startDemo(true)
        tryCompare(testApp, "screen", "staffHome", 20000)
        tryVerify(() => summary.count > 0, 10000)
    }
    function cleanupTestCase() {
        testApp.signOut()
        tryCompare(testApp, "screen", "login", 20000)
    }

    function conversationID(title) {
        return summary.idForTitle(title)
    }
    // A client company's conversation whose company has people.
    function clientConversation() {
        for (let row = 0; row < summary.count; ++row) {
            const id = summary.idAt(row)
            probe.conversationID = id
            if (probe.clientID.length > 0 && probe.people.length > 0)
                return id
        }
        return ""
    }
    function typeInto(field, text) {
        field.forceActiveFocus()
        field.selectAll()
        for (const c of text)
            keyClick(c)
    }
    function candidate(editor, index) {
        const list = findChild(editor, "groupCandidates")
        tryVerify(() => list.count > index)
        list.positionViewAtIndex(index, ListView.Contain)
        const item = list.itemAtIndex(index)
        verify(item)
        return item
    }

    function test_invite_from_the_client_inspector() {
        const id = clientConversation()
        verify(id.length > 0)
        const company = probe.companyName
        const pane = createTemporaryObject(paneComponent, test, { conversationID: id })
        const sheets = createTemporaryObject(sheetsComponent, test)
        tryCompare(pane, "shows", "client")
        const inspector = findChild(pane, "clientInspector")
        verify(inspector)
        compare(findChild(inspector, "companyName").text, company)

        const button = findChild(inspector, "inviteButton")
        compare(button.text, "Invita un'altra persona…")
        mouseClick(button)
        verify(testApp.isInviteSheetPresented)
        const sheet = sheets.inviteSheet
        tryCompare(sheet, "opened", true)
        compare(sheet.title, "Invita un cliente")
        // The company is preselected.
        compare(findChild(sheet, "companyPicker").currentText, company)
        verify(!findChild(sheet, "companyNameField").visible)
        const create = findChild(sheet, "createInviteButton")
        verify(!create.enabled)

        typeInto(findChild(sheet, "personNameField").input, "Lia Conti")
        typeInto(findChild(sheet, "personEmailField").input, "lia.conti@example.org")
        verify(create.enabled)
        keyClick(Qt.Key_Return)
        tryCompare(sheet.model, "hasInvite", true, 10000)
        const result = findChild(sheet, "inviteResult")
        tryCompare(result, "visible", true)
        const code = findChild(result, "inviteCode").text
        verify(/^[A-Z0-9]{4}-[A-Z0-9]{4}$/.test(code), code)
        verify(findChild(result, "inviteResultText").text.startsWith(
                   "Manda a Lia Conti questo codice. Si usa una volta sola e vale fino al "))
        const message = findChild(result, "inviteMessage").text
        verify(message.startsWith("Ciao Lia Conti, ti abbiamo attivato Brevio"), message)
        verify(message.indexOf("3. Scrivi il codice " + code + " e scegli la tua password.") > 0)

        const copy = findChild(result, "copyMessageButton")
        compare(copy.text, "Copia il messaggio")
        mouseClick(copy)
        tryCompare(copy, "text", "Copiato")

        // The inspector now knows about the invite.
        tryCompare(findChild(inspector, "inviteState"), "text", "Nessuno ha ancora attivato l'invito.")

        mouseClick(findChild(result, "inviteDoneButton"))
        tryCompare(sheet, "opened", false)
        verify(!testApp.isInviteSheetPresented)
        compare(testApp.inviteClientID, "")
    }

    function test_invite_refusal_keeps_the_form_and_esc_closes() {
        const sheets = createTemporaryObject(sheetsComponent, test)
        testApp.isInviteSheetPresented = true
        const sheet = sheets.inviteSheet
        tryCompare(sheet, "opened", true)
        // Opened from the menu: a new company.
        compare(findChild(sheet, "companyPicker").currentText, "Nuova azienda…")
        verify(findChild(sheet, "companyNameField").visible)
        typeInto(findChild(sheet, "companyNameField").input, "Vetreria Sole")
        typeInto(findChild(sheet, "personNameField").input, "Ugo Sole")
        typeInto(findChild(sheet, "personEmailField").input, "senza-chiocciola")
        mouseClick(findChild(sheet, "createInviteButton"))
        tryVerify(() => findChild(sheet, "inviteError").text.length > 0, 10000)
        verify(!sheet.model.hasInvite)
        compare(findChild(sheet, "personNameField").text, "Ugo Sole")
        compare(findChild(sheet, "companyNameField").text, "Vetreria Sole")
        keyClick(Qt.Key_Escape)
        tryCompare(sheet, "opened", false)
        verify(!testApp.isInviteSheetPresented)
    }

    function test_group_made_grown_shrunk_and_left() {
        const sheets = createTemporaryObject(sheetsComponent, test)
        testApp.isNewGroupRequested = true
        const editor = sheets.groupEditor
        tryCompare(editor, "opened", true)
        compare(editor.title, "Nuovo gruppo")
        typeInto(findChild(editor, "groupNameInput").input, "Squadra test")
        mouseClick(candidate(editor, 0))
        compare(findChild(editor, "groupSelectionText").text, "1 persona scelta")
        mouseClick(candidate(editor, 1))
        compare(findChild(editor, "groupSelectionText").text, "2 persone scelte")
        const confirm = findChild(editor, "groupConfirmButton")
        compare(confirm.text, "Crea gruppo")
        mouseClick(confirm)
        tryCompare(editor, "opened", false, 10000)
        verify(!testApp.isNewGroupRequested)
        // The new group is selected.
        const id = testApp.selectedConversationID
        tryVerify(() => conversationID("Squadra test") === id && id.length > 0, 10000)

        const pane = createTemporaryObject(paneComponent, test, { conversationID: id })
        tryCompare(pane, "shows", "group")
        const inspector = findChild(pane, "groupInspector")
        verify(inspector)
        const count = findChild(inspector, "memberCount")
        compare(count.text, "3 persone")

        // One more through the editor in add mode.
        mouseClick(findChild(inspector, "addMembersButton"))
        const adder = findChild(inspector, "addMembersEditor")
        tryCompare(adder, "opened", true)
        compare(adder.title, "Aggiungi persone")
        mouseClick(candidate(adder, 0))
        compare(findChild(adder, "groupConfirmButton").text, "Aggiungi")
        mouseClick(findChild(adder, "groupConfirmButton"))
        tryCompare(adder, "opened", false, 10000)
        tryCompare(count, "text", "4 persone", 10000)

        // One removed by its row's button.
        const rows = findChild(inspector, "memberRows")
        let removable = null
        for (let i = 0; i < rows.count && !removable; ++i) {
            const action = findChild(rows.itemAt(i), "personAction")
            if (action && action.visible)
                removable = action
        }
        verify(removable)
        verify(removable.Accessible.name.startsWith("Togli "))
        verify(removable.Accessible.name.endsWith(" dal gruppo"))
        mouseClick(removable)
        tryCompare(count, "text", "3 persone", 10000)
        // The server's answer follows the new member list.
        tryCompare(inspector.model, "working", false)
        compare(findChild(inspector, "groupError").text, "")

        // Leaving asks first.
        mouseClick(findChild(inspector, "leaveButton"))
        const dialog = findChild(inspector, "leaveDialog")
        tryCompare(dialog, "opened", true)
        compare(dialog.title, "Uscire dal gruppo?")
        mouseClick(findChild(dialog, "confirmLeaveButton"))
        tryVerify(() => conversationID("Squadra test") === "", 10000)
        compare(testApp.selectedConversationID, "")
    }

    function test_group_editor_by_keyboard() {
        const sheets = createTemporaryObject(sheetsComponent, test)
        testApp.isNewGroupRequested = true
        const editor = sheets.groupEditor
        tryCompare(editor, "opened", true)
        // The name field has the focus; Tab goes on to the search, Down into the list.
        const name = findChild(editor, "groupNameInput").input
        tryCompare(name, "activeFocus", true)
        for (const c of "Tastiera")
            keyClick(c)
        keyClick(Qt.Key_Tab)
        const search = findChild(editor, "groupSearchField")
        tryCompare(search, "activeFocus", true)
        for (const c of "conti")
            keyClick(c)
        const list = findChild(editor, "groupCandidates")
        tryCompare(list, "count", 1)
        keyClick(Qt.Key_Down)
        tryCompare(list, "activeFocus", true)
        keyClick(Qt.Key_Space)
        compare(findChild(editor, "groupSelectionText").text, "1 persona scelta")
        keyClick(Qt.Key_Return)
        tryCompare(editor, "opened", false, 10000)
        const id = testApp.selectedConversationID
        tryVerify(() => id.length > 0 && conversationID("Tastiera") === id, 10000)

        // Esc closes the editor and clears the request.
        testApp.isNewGroupRequested = true
        tryCompare(editor, "opened", true)
        compare(findChild(editor, "groupNameInput").text, "")
        keyClick(Qt.Key_Escape)
        tryCompare(editor, "opened", false)
        verify(!testApp.isNewGroupRequested)

        // Leaving again, so that the demo stays as it was.
        const pane = createTemporaryObject(paneComponent, test, { conversationID: id })
        const inspector = findChild(pane, "groupInspector")
        verify(inspector)
        inspector.model.leave()
        tryVerify(() => conversationID("Tastiera") === "", 10000)
    }

    function test_notes_typed_in_the_client_inspector_are_saved() {
        const id = clientConversation()
        const pane = createTemporaryObject(paneComponent, test, { conversationID: id })
        const inspector = findChild(pane, "clientInspector")
        verify(inspector)
        const field = findChild(inspector, "notesField")
        const before = field.text
        field.forceActiveFocus()
        field.cursorPosition = field.length
        for (const c of " Ok")
            keyClick(c)
        compare(inspector.model.notes, before + " Ok")
        verify(inspector.model.savePending)
        // Saved a second later: another view of the same company reads it from the session.
        probe.conversationID = id
        tryCompare(probe, "notes", before + " Ok", 5000)
        tryCompare(inspector.model, "savePending", false)
        compare(findChild(inspector, "notesError").text, "")
    }

    function test_organization_with_nothing_selected() {
        const pane = createTemporaryObject(paneComponent, test, { conversationID: "" })
        compare(pane.shows, "organization")
        const inspector = findChild(pane, "organizationInspector")
        verify(inspector)
        const counts = findChild(inspector, "staffCounts").text
        verify(/^\d+ person[ae] · \d+ online$/.test(counts), counts)
    }
}
