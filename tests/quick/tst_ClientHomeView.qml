import QtQuick
import QtTest
import Brevio

// The client's home over the client demo: the title and the staff's presence, the company's
// conversation open in the chat view, the account menu.
TestCase {
    id: test
    name: "ClientHomeView"
    when: windowShown
    visible: true // the views under test are created inside it
    width: 900
    height: 640

    Component {
        id: clientHome
        ClientHomeView { anchors.fill: parent; app: testApp }
    }

    function initTestCase() {
        testApp.startDemo(false)
        tryCompare(testApp, "screen", "clientHome", 20000)
    }
    function cleanupTestCase() {
        testApp.signOut()
        tryCompare(testApp, "screen", "login", 20000)
    }

    function test_showsTheCompanysConversationAndTheAccountMenu() {
        const home = createTemporaryObject(clientHome, test)
        verify(home)
        compare(findChild(home, "homeTitle").text, "Brevio")
        verify(["Lo staff è online", "Ti risponderemo appena possibile"]
               .includes(findChild(home, "staffStatus").text))
        tryVerify(() => home.home.hasConversation, 10000)
        const chat = findChild(home, "chatView")
        tryVerify(() => chat.conversationID.length > 0)
        compare(chat.conversationID, testApp.selectedConversationID)
        compare(chat.conversationID, home.home.conversations[0].conversationID)
        verify(!findChild(home, "clientEmptyState").visible)

        const account = findChild(home, "accountButton")
        // At the header's right end.
        compare(account.x + account.width, account.parent.width)
        compare(account.Accessible.name, "Il tuo account")
        mouseClick(account)
        const settings = findChild(home, "settingsItem")
        tryVerify(() => settings.visible)
        compare(settings.text, "Foto profilo e impostazioni…")
        compare(findChild(home, "signOutItem").text, "Esci dall'account")
        keyClick(Qt.Key_Escape)
        tryVerify(() => !settings.visible)
    }
}
