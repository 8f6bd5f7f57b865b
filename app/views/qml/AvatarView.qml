import QtQuick
import Brevio

// A person's or a group's avatar: the photo clipped round when there is one, otherwise the
// initials (a group: its symbol) in white on the hue the id picks. An optional online mark sits at
// the bottom right.
Item {
    id: avatar

    // The user's (or group's) id: it picks the hue.
    property string userID
    property string name
    // The photo reference from the record; empty for none.
    property string photo
    // The session's server address, for photos that are paths on it (AppModel.serverOrigin).
    property string serverOrigin
    property bool group: false
    property bool online: false
    // 36 in lists, 28 beside bubbles, 64 in inspectors, 96 in the photo editor.
    property int size: Theme.avatarList

    readonly property string initials: AvatarLook.initials(name)
    readonly property bool showsPhoto: photoImage.ready

    width: size
    height: size
    implicitWidth: size
    implicitHeight: size

    Accessible.role: Accessible.Graphic
    Accessible.name: name

    Rectangle {
        id: disc
        anchors.fill: parent
        radius: width / 2
        color: AvatarLook.background(avatar.userID)
        visible: !avatar.showsPhoto

        Text {
            objectName: "initials"
            anchors.centerIn: parent
            visible: !avatar.group && avatar.initials.length > 0
            text: avatar.initials
            color: "#FFFFFF"
            font.pixelSize: Math.max(11, Math.round(avatar.size * 0.4))
            font.weight: Font.DemiBold
            Accessible.ignored: true
        }

        Icon {
            objectName: "symbol"
            anchors.centerIn: parent
            visible: avatar.group || avatar.initials.length === 0
            symbol: avatar.group ? "person.3.fill" : "person.fill"
            sourceSize.width: Math.round(avatar.size * 0.55)
            sourceSize.height: Math.round(avatar.size * 0.55)
            color: "#FFFFFF"
        }
    }

    AvatarImage {
        id: photoImage
        objectName: "photo"
        anchors.fill: parent
        reference: avatar.photo
        serverOrigin: avatar.serverOrigin
    }

    Rectangle {
        objectName: "onlineMark"
        visible: avatar.online
        width: Math.min(20, Math.max(8, Math.round(avatar.size * 0.28)))
        height: width
        radius: width / 2
        anchors.right: parent.right
        anchors.bottom: parent.bottom
        color: Theme.online
        // A ring of the surface around it keeps it apart from the photo.
        border.width: Math.max(1.5, avatar.size / 24)
        border.color: Theme.surface
        Accessible.role: Accessible.Indicator
        Accessible.name: "Online"
    }
}
