pragma Singleton
import QtQuick

// The one visual language of every screen: grid, type, shapes and the two palettes.
QtObject {
    property bool dark: false

    // Grid
    readonly property int xs: 4
    readonly property int s: 8
    readonly property int m: 12
    readonly property int l: 16
    readonly property int xl: 24
    readonly property int margin: 16

    // Type, relative to the system font, never below 11 px
    readonly property real baseSize: Math.max(11, Qt.application.font.pixelSize > 0
                                                   ? Qt.application.font.pixelSize : 13)
    readonly property real body: baseSize
    readonly property real secondary: Math.max(11, baseSize * 0.9)
    readonly property real small: Math.max(11, baseSize * 0.8)
    readonly property real title: baseSize * 1.25
    readonly property real heading: baseSize * 1.6

    // Shapes
    readonly property int radiusBubble: 12
    readonly property int radiusCard: 10
    readonly property int radiusControl: 6
    readonly property int rowHeight: 56
    readonly property int avatarList: 36
    readonly property int avatarBubble: 28
    readonly property int avatarInspector: 64
    readonly property int avatarEditor: 96

    // The settings window
    readonly property int settingsWidth: 560
    readonly property int settingsHeight: 520
    readonly property int settingsMinimumHeight: 440
    readonly property int settingsTabIcon: 16
    readonly property int settingsDialogWidth: 400

    // Home: the conversation list's column, its unread badge and the empty states
    readonly property int listPaneWidth: 320
    readonly property int listPaneMinimumWidth: 260
    readonly property int badgeHeight: 20
    readonly property color badgeText: "#FFFFFF"
    readonly property int emptySymbol: 40
    readonly property int emptyTextWidth: 300

    // Chat: bubbles at most 70% of the list and 640 px wide; 2 px within a run, 10 between authors
    readonly property int bubbleCut: 6
    readonly property real bubbleWidthRatio: 0.7
    readonly property int bubbleMaxWidth: 640
    readonly property int runSpacing: 2
    readonly property int authorSpacing: 10
    readonly property int bubblePadding: 10
    readonly property int tick: 14
    readonly property int focusRing: 2

    // Motion
    readonly property int quick: 120

    // Inspectors and sheets: the pane beside the chat, the sheets over the window, the invite code
    readonly property int inspectorWidth: 300
    readonly property int sheetWidth: 480
    readonly property int sheetListHeight: 260
    readonly property int personRowHeight: 44
    readonly property int avatarRow: 32
    readonly property int notesHeight: 110
    readonly property int messageBoxHeight: 170
    readonly property real codeSize: baseSize * 2.4

    // Colours
    readonly property color window: dark ? "#17191C" : "#F6F7F9"
    readonly property color surface: dark ? "#1F2226" : "#FFFFFF"
    readonly property color text: dark ? "#E8EAED" : "#1B1D21"
    readonly property color secondaryText: dark ? "#9AA1AB" : "#5F6670"
    readonly property color separator: dark ? "#2C3036" : "#E3E6EA"
    readonly property color fieldBorder: dark ? "#454B54" : "#C5CBD3"
    readonly property color accent: dark ? "#5B8DEF" : "#2F6FEB"
    readonly property color ownBubble: dark ? "#2E5BB8" : "#2A63D4"
    readonly property color ownText: "#FFFFFF"
    readonly property color ownMeta: "#E3ECFC"
    readonly property color otherBubble: dark ? "#2A2E34" : "#FFFFFF"
    readonly property color otherText: dark ? "#E8EAED" : "#1B1D21"
    readonly property color badge: dark ? "#3A6BD0" : "#2A63D4"
    readonly property color destructive: dark ? "#FF6B6B" : "#D93636"
    readonly property color online: dark ? "#3CCB6E" : "#2EAD5B"
    readonly property color highlight: dark ? "#7A6320" : "#FFE58A"
    // Text on the search highlight, in any bubble.
    readonly property color highlightText: dark ? "#FFFFFF" : "#1B1D21"
    // A white bubble needs an edge on the light window; the dark one stands out by itself.
    readonly property color otherBubbleBorder: dark ? otherBubble : separator
    // A quote inside a bubble: a darker band in one's own, a faint band in others'.
    readonly property color ownQuote: Qt.rgba(0, 0, 0, 0.18)
    readonly property color otherQuote: dark ? Qt.rgba(1, 1, 1, 0.06) : Qt.rgba(0, 0, 0, 0.05)
    readonly property color otherMeta: secondaryText
    // The outline of the current search match (3:1 against the window).
    readonly property color matchOutline: dark ? "#E0B83A" : "#B07D00"
    // The accent for small text on the window (AA at 0.8 of the body size).
    readonly property color accentText: dark ? "#5B8DEF" : "#2A63D4"
    readonly property color hover: dark ? Qt.rgba(1, 1, 1, 0.06) : Qt.rgba(0, 0, 0, 0.04)
    readonly property color reactionMine: dark ? Qt.rgba(0.36, 0.55, 0.94, 0.22) : Qt.rgba(0.18, 0.44, 0.92, 0.12)
}
