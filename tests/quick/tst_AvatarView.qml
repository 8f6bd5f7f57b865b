import QtQuick
import QtTest
import Brevio

TestCase {
    id: test
    name: "AvatarView"
    when: windowShown
    visible: true
    width: 400
    height: 400

    // A 4 by 4 red PNG.
    readonly property string redPhoto: "data:image/png;base64,iVBORw0KGgoAAAANSUhEUgAAAAQAAAAECAIAAAAmkwkpAAAAEElEQVR4nGO4IycHRwzEcQDTIxGBFNCZswAAAABJRU5ErkJggg=="

    Component {
        id: avatar
        AvatarView {}
    }
    Component {
        id: editorView
        ProfilePhotoEditorView { app: testApp }
    }

    function isRed(c) { return c.r > 0.8 && c.g < 0.25 && c.b < 0.25 }

    function test_aPersonShowsInitialsOnTheHueOfTheId() {
        const a = createTemporaryObject(avatar, test, { userID: "u1", name: "anna maria rossi" })
        const initials = findChild(a, "initials")
        verify(initials.visible)
        compare(initials.text, "AM")
        compare(initials.color, Qt.color("#FFFFFF"))
        verify(!findChild(a, "symbol").visible)
        compare(a.width, Theme.avatarList)
        compare(a.Accessible.name, "anna maria rossi")
        // The same id gets the same disc in another avatar; another id may not.
        const b = createTemporaryObject(avatar, test, { userID: "u1", name: "Other" })
        compare(b.children[0].color, a.children[0].color)
        compare(a.children[0].color, AvatarLook.background("u1"))
    }

    function test_aGroupShowsItsSymbolAndANamelessPersonAFigure() {
        const g = createTemporaryObject(avatar, test, { userID: "g1", name: "Progetto Alfa",
                                                        group: true, size: 64 })
        const symbol = findChild(g, "symbol")
        verify(symbol.visible)
        compare(symbol.symbol, "person.3.fill")
        verify(!findChild(g, "initials").visible)
        compare(g.width, 64)

        const nameless = createTemporaryObject(avatar, test, { userID: "u2", name: "  " })
        verify(findChild(nameless, "symbol").visible)
        compare(findChild(nameless, "symbol").symbol, "person.fill")
    }

    function test_theOnlineMarkIsShownAndNamedOnline() {
        const a = createTemporaryObject(avatar, test, { userID: "u1", name: "Anna" })
        const mark = findChild(a, "onlineMark")
        verify(!mark.visible)
        a.online = true
        verify(mark.visible)
        compare(mark.Accessible.name, "Online")
        compare(mark.color, Theme.online)
    }

    function test_anInlinePhotoReplacesTheInitialsClippedRound() {
        const a = createTemporaryObject(avatar, test, { userID: "u1", name: "Anna Rossi",
                                                        size: 96, photo: test.redPhoto })
        tryVerify(() => a.showsPhoto, 10000)
        verify(!a.children[0].visible) // the disc and its initials
        const image = grabImage(a)
        verify(isRed(image.pixel(48, 48)), "" + image.pixel(48, 48))
        // The corner lies outside the circle.
        verify(!isRed(image.pixel(2, 2)), "" + image.pixel(2, 2))

        // Back to no photo: back to the initials.
        a.photo = ""
        verify(!a.showsPhoto)
        verify(findChild(a, "initials").visible)
    }

    function test_referencesThatGiveNoPhotoKeepTheInitials() {
        // Inline data without a comma; a server path without a server; garbage base64.
        for (const photo of ["data:image/png;base64", "/avatars/u1.jpg",
                             "data:image/png;base64,@@@"]) {
            const a = createTemporaryObject(avatar, test, { userID: "u1", name: "Anna",
                                                            photo: photo })
            const image = findChild(a, "photo")
            tryVerify(() => !image.loading, 10000)
            verify(!a.showsPhoto, photo)
            verify(findChild(a, "initials").visible, photo)
        }
    }

    function test_theProfilePhotoEditorOffersItsActions() {
        const view = createTemporaryObject(editorView, test)
        const change = findChild(view, "changePhotoButton")
        const remove = findChild(view, "removePhotoButton")
        compare(change.text, "Cambia foto…")
        compare(remove.text, "Rimuovi")
        verify(change.enabled)
        verify(!remove.enabled) // there is no photo to remove
        verify(!findChild(view, "photoError").visible)
        verify(!findChild(view, "workingIndicator").visible)
        compare(findChild(view, "editorAvatar").size, 96)
        verify(findText(view, "La vedono tutte le persone con cui chatti."))
    }

    function findText(item, text) {
        if (item.text === text)
            return item
        for (let i = 0; i < item.children.length; ++i) {
            const found = findText(item.children[i], text)
            if (found)
                return found
        }
        return null
    }
}
