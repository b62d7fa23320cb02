import QtQuick
import Tessaly

/// The window: a screen, and above it what the screen presents.
Window {
    width: 390
    height: 844
    minimumWidth: 300
    minimumHeight: 400
    visible: false
    color: Theme.surface

    ScreenFrame {
        anchors.fill: parent
        hostName: "rootHost"
    }
    Item {
        id: layer
        objectName: "layer"
        anchors.fill: parent
        LayoutMirroring.enabled: Theme.mirrored
        LayoutMirroring.childrenInherit: true
    }
}
