import QtQuick
import Tessaly

/// The screen that picks the language: the device's, or one of the list.
Interface {
    id: screen

    Keys.forwardTo: [list]

    Rectangle {
        anchors.fill: parent
        color: Theme.row
    }
    Rectangle {
        id: device
        anchors { left: parent.left; right: parent.right; top: parent.top; topMargin: 14 }
        height: 52
        color: Theme.surface
        OutletLabel {
            anchors { left: parent.left; leftMargin: 14; right: toggle.left; rightMargin: 10; verticalCenter: parent.verticalCenter }
            outlet: screen.outlets.label("useDeviceLanguageLabel")
            elide: Text.ElideRight
        }
        OutletSwitch {
            id: toggle
            anchors { right: parent.right; rightMargin: 14; verticalCenter: parent.verticalCenter }
            outlet: screen.outlets.toggle("useDeviceLanguageSwitch")
        }
    }
    OutletLabel {
        id: heading
        anchors { left: parent.left; right: parent.right; top: device.bottom; margins: 14; topMargin: 18 }
        outlet: screen.outlets.label("selectLanguageLabel")
        elide: Text.ElideRight
    }
    CollectionView {
        id: list
        anchors { left: parent.left; right: parent.right; top: heading.bottom; topMargin: 8; bottom: parent.bottom }
        outlet: screen.outlets.collection("collectionView")
    }
}
