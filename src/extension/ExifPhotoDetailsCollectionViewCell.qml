import QtQuick
import Tessaly

/// A page: its own list.
Interface {
    id: page

    Keys.forwardTo: [list]

    Rectangle {
        anchors.fill: parent
        color: Theme.surface
    }
    CollectionView {
        id: list
        // On a wide screen in the middle, where names and values stay near each other.
        anchors { top: parent.top; bottom: parent.bottom; horizontalCenter: parent.horizontalCenter }
        width: Math.min(parent.width, Theme.contentWidth)
        outlet: page.outlets.collection("collectionView")
    }
}
