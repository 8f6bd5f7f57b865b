import QtQuick
import Brevio

// One of the top-level screens, by where the session is in the sign-in flow.
Item {
    id: root

    property AppModel app

    Loader {
        id: screen
        anchors.fill: parent
        // Each screen marks where the keyboard starts (the list, the first field).
        focus: true
        sourceComponent: {
            if (!root.app)
                return null
            switch (root.app.screen) {
            case "login": return login
            case "restoring": return null
            case "connecting": return connecting
            case "upgrade": return upgrade
            case "staffHome": return staffHome
            case "clientHome": return clientHome
            default: return null
            }
        }
    }

    Component { id: login; LoginView { app: root.app } }
    Component { id: connecting; ConnectingView { app: root.app } }
    Component { id: upgrade; UpgradeView { app: root.app } }
    Component { id: staffHome; StaffHomeView { app: root.app } }
    Component { id: clientHome; ClientHomeView { app: root.app } }
}
