import QtQuick
import Tessaly

/// The window: a screen, and above it what the screen presents. Files can be dropped on it.
Window {
    id: main

    /// Their URLs, one a line. What a browser would have to fetch finds no place here.
    signal filesDropped(lines: string)

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
    DropArea {
        id: drop
        anchors.fill: parent
        onEntered: drag => drag.accepted = drag.hasUrls && drag.urls.every(url => url.toString().startsWith("file:"))
        onDropped: event => {
            event.accept(Qt.CopyAction);
            main.filesDropped(event.urls.join("\n"));
        }
        Rectangle {
            anchors.fill: parent
            visible: drop.containsDrag
            color: "transparent"
            border { width: 4; color: Theme.accent }
        }
    }
}
