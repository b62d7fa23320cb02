import QtQuick
import Tessaly

/// Shows which item the keyboard is at.
Rectangle {
    property bool shown: parent ? parent.activeFocus : false
    anchors.fill: parent
    anchors.margins: 2
    // What fills a button is drawn after it.
    z: 1
    visible: shown && Theme.byKeyboard
    color: "transparent"
    radius: 6
    border { width: 2; color: Theme.accent }

    // A second one within it: over a picture one of the two is seen.
    Rectangle {
        anchors.fill: parent
        anchors.margins: 2
        color: "transparent"
        radius: Math.max(0, parent.radius - 2)
        border { width: 1; color: Theme.surface }
    }
}
