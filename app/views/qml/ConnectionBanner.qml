import QtQuick
import QtQuick.Controls
import QtQuick.Layouts
import Brevio

// Above the composer while the session is not online: what is happening and, while waiting to
// reconnect, a way to try at once. Slides open and closed.
Item {
    id: banner

    property string text
    property bool offline: false
    property bool offersRetry: false
    signal retryRequested()

    readonly property bool shown: text.length > 0
    // Keeps the last words while sliding closed.
    property string shownText
    onTextChanged: if (text.length > 0) shownText = text
    Component.onCompleted: shownText = text

    clip: true
    implicitHeight: shown ? content.implicitHeight + 2 * Theme.s : 0
    // By the implicit height: the layout rounds the last fraction of the slide up to a pixel and
    // keeps it, so the height never comes back to 0.
    visible: implicitHeight > 0
    Behavior on implicitHeight { NumberAnimation { duration: Theme.quick; easing.type: Easing.OutCubic } }
    Accessible.role: Accessible.AlertMessage
    Accessible.name: shownText

    Rectangle {
        anchors.fill: parent
        color: Theme.surface
        Rectangle { width: parent.width; height: 1; color: Theme.separator }
    }

    RowLayout {
        id: content
        anchors.left: parent.left
        anchors.right: parent.right
        anchors.bottom: parent.bottom
        anchors.leftMargin: Theme.l
        anchors.rightMargin: Theme.l
        anchors.bottomMargin: Theme.s
        spacing: Theme.s
        Icon {
            objectName: "offlineIcon"
            visible: banner.offline
            symbol: "wifi.exclamationmark"
            color: Theme.secondaryText
        }
        Label {
            objectName: "bannerText"
            text: banner.shownText
            color: Theme.text
            font.pixelSize: Theme.secondary
            wrapMode: Text.WordWrap
            Layout.fillWidth: true
        }
        TextButton {
            objectName: "retryNowButton"
            visible: banner.offersRetry
            text: "Riprova ora"
            onClicked: banner.retryRequested()
        }
    }
}
