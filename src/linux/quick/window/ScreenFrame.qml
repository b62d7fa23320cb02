import QtQuick
import Tessaly

/// A screen below its navigation bar, and under its progress overlay.
Rectangle {
    id: frame

    property string hostName
    property alias host: host

    color: Theme.surface
    Keys.forwardTo: [host]
    LayoutMirroring.enabled: Theme.mirrored
    LayoutMirroring.childrenInherit: true

    NavigationBar {
        id: bar
        z: 1
        anchors { left: parent.left; right: parent.right; top: parent.top }
        navigation: host.navigation
    }
    ControllerHost {
        id: host
        objectName: frame.hostName
        anchors { left: parent.left; right: parent.right; top: bar.bottom; bottom: parent.bottom }
        clip: true
    }
    ProgressOverlay {
        anchors.fill: host
        hud: host.hud
    }
}
