import QtQuick
import Tessaly

/// Shows which item the keyboard is at.
Rectangle {
    property bool shown: parent ? parent.activeFocus : false
    anchors.fill: parent
    anchors.margins: 2
    visible: shown && Theme.byKeyboard
    color: "transparent"
    radius: 6
    border { width: 2; color: Theme.accent }
}
