import QtQuick
import Brevio

// Behind the messages: the window's colour, calm and flat, so that no bubble loses contrast.
Rectangle {
    color: Theme.window
}
