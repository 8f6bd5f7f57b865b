import QtQuick
import QtTest
import Brevio

TestCase {
    id: test
    name: "SettingsWindow"
    when: windowShown
    visible: true
    width: 1100
    height: 720

    Component {
        id: settingsWindow
        SettingsWindow { app: testApp; visible: true }
    }
    Component {
        id: rootView
        RootView { anchors.fill: parent; app: testApp }
    }

    function cleanup() {
        testApp.notificationsBlocked = false
        if (testApp.screen !== "login") {
            testApp.signOut()
            tryCompare(testApp, "screen", "login", 20000)
        }
    }

    // The visible label (or control) showing exactly `text` below `item`.
    function shownText(item, text) {
        if (item.visible === false)
            return null
        if (item.text === text)
            return item
        for (let i = 0; i < item.children.length; ++i) {
            const found = shownText(item.children[i], text)
            if (found)
                return found
        }
        return null
    }
    function open(window, label) {
        const tabs = findChild(window, "settingsTabs")
        let index = -1
        for (let i = 0; i < tabs.count; ++i)
            if (tabs.itemAt(i).text === label)
                index = i
        verify(index >= 0, label)
        const button = tabs.itemAt(index)
        // The bar places its tabs side by side once the window is up.
        tryVerify(() => Math.abs(button.x - index * (button.width + tabs.spacing)) < 1)
        mouseClick(button)
        tryVerify(() => tabs.currentItem === button)
    }
    function startDemo() {
        testApp.startDemo(true)
        tryCompare(testApp, "screen", "staffHome", 20000)
    }

    function test_theTabsInOrderWithTheirTexts() {
        startDemo()
        const window = createTemporaryObject(settingsWindow, test)
        compare(window.title, "Impostazioni")
        const tabs = findChild(window, "settingsTabs")
        compare(tabs.count, 3)
        compare(tabs.itemAt(0).text, "Account")
        compare(tabs.itemAt(1).text, "Notifiche")
        compare(tabs.itemAt(2).text, "Generali")
        compare(tabs.currentIndex, 0)

        // Account: the photo editor and the rows of the demo's administrator.
        const account = findChild(window, "accountSettings")
        tryVerify(() => findChild(account, "changePhotoButton") !== null)
        for (const label of ["Foto profilo", "Nome", "Email", "Accesso come", "Server"])
            verify(shownText(account, label), label)
        compare(findChild(account, "nameValue").text, testApp.userName)
        verify(findChild(account, "emailValue").text.indexOf("@") > 0)
        compare(findChild(account, "roleValue").text, "Staff, amministratore")
        compare(findChild(account, "serverValue").text, "Demo su questo computer")
        verify(shownText(account, "Su questo computer si cancella anche la copia locale delle chat. I messaggi restano sul server."))
        verify(shownText(account, "Esci dall'account"))

        // Notifications: the switches on as nothing was ever stored, the note.
        open(window, "Notifiche")
        const notifications = findChild(window, "notificationSettings")
        verify(notifications.visible)
        compare(findChild(notifications, "enabledSwitch").text, "Avvisami dei messaggi nuovi")
        compare(findChild(notifications, "soundSwitch").text, "Con il suono")
        compare(findChild(notifications, "previewSwitch").text, "Mostra il testo del messaggio")
        compare(findChild(notifications, "enabledSwitch").checked,
                window.settings.notificationsEnabled)
        verify(shownText(notifications, "Non arrivano notifiche per la conversazione che hai davanti."))
        verify(!findChild(notifications, "blockedNotice").visible)
        // A click on a switch's pill or on its words turns the setting over.
        const sound = findChild(notifications, "soundSwitch")
        const sounding = window.settings.notificationSound
        mouseClick(sound.indicator)
        compare(window.settings.notificationSound, !sounding)
        mouseClick(sound.contentItem, sound.contentItem.width - 10, sound.contentItem.height / 2)
        compare(window.settings.notificationSound, sounding)

        // General: the picker, the switch with its caption, the version.
        open(window, "Generali")
        const general = findChild(window, "generalSettings")
        verify(general.visible)
        verify(shownText(general, "Aspetto"))
        for (const label of ["Automatico", "Chiaro", "Scuro"])
            verify(shownText(findChild(general, "themePicker"), label), label)
        compare(findChild(general, "launchSwitch").text, "Apri Brevio quando accedi al computer")
        verify(shownText(general, "Così resti raggiungibile: con la finestra chiusa l'app resta collegata nell'area di notifica."))
        verify(shownText(general, "Versione"))
        compare(findChild(general, "versionValue").text, testApp.version)
        verify(testApp.version.length > 0)
    }

    function test_withoutANotificationServerTheTabSaysSo() {
        const window = createTemporaryObject(settingsWindow, test)
        open(window, "Notifiche")
        const notifications = findChild(window, "notificationSettings")
        const notice = findChild(notifications, "blockedNotice")
        verify(!notice.visible)
        testApp.notificationsBlocked = true
        tryVerify(() => notice.visible)
        verify(shownText(notice, "Il sistema blocca le notifiche di Brevio."))
        // The button only where the desktop's panel is known.
        compare(findChild(notice, "openNotificationSettings").visible,
                window.settings.canOpenNotificationSettings)
        if (window.settings.canOpenNotificationSettings)
            compare(findChild(notice, "openNotificationSettings").text,
                    "Apri le impostazioni delle notifiche…")
        testApp.notificationsBlocked = false
        tryVerify(() => !notice.visible)
    }

    function test_thePickerChangesTheTheme() {
        const window = createTemporaryObject(settingsWindow, test)
        const before = testApp.appTheme
        open(window, "Generali")
        const picker = findChild(window, "themePicker")
        mouseClick(shownText(picker, "Scuro"))
        compare(testApp.appTheme, "dark")
        verify(testApp.darkTheme)
        compare(picker.current, 2)
        mouseClick(shownText(picker, "Chiaro"))
        compare(testApp.appTheme, "light")
        verify(!testApp.darkTheme)
        testApp.appTheme = before
    }

    function test_signingOutFromSettingsReturnsToTheLoginScreen() {
        startDemo()
        const root = createTemporaryObject(rootView, test)
        const window = createTemporaryObject(settingsWindow, test)
        tryVerify(() => findChild(root, "submitButton") === null)

        const account = findChild(window, "accountSettings")
        mouseClick(findChild(account, "signOutButton"))
        const confirmation = findChild(account, "signOutConfirmation")
        tryVerify(() => confirmation.opened)
        // Cancelling changes nothing.
        mouseClick(findChild(confirmation, "cancelSignOut"))
        tryVerify(() => !confirmation.visible)
        compare(testApp.screen, "staffHome")

        mouseClick(findChild(account, "signOutButton"))
        tryVerify(() => confirmation.opened)
        verify(shownText(confirmation.contentItem, "Su questo computer si cancella anche la copia locale delle chat. I messaggi restano sul server."))
        mouseClick(findChild(confirmation, "confirmSignOut"))
        tryCompare(testApp, "screen", "login", 20000)
        // The main window shows the login form; the settings say nobody is signed in.
        tryVerify(() => findChild(root, "submitButton") !== null)
        tryVerify(() => findChild(account, "signedOutText").visible)
        compare(findChild(account, "signedOutText").text, "Non hai effettuato l'accesso.")
        verify(!findChild(account, "signOutButton").visible)
        verify(!findChild(account, "accountRows").visible)
    }
}
