import QtQuick
import Tessaly

/// A page: its own list.
Interface {
    id: page

    Rectangle {
        anchors.fill: parent
        color: Theme.surface
    }
    CollectionView {
        anchors.fill: parent
        outlet: page.outlets.collection("collectionView")
    }
}
