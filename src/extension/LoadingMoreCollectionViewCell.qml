import QtQuick
import Tessaly

/// The row at a list's end while more is on its way.
Interface {
    id: row

    readonly property ProgressOutlet bar: outlets.progress("progressView")

    implicitHeight: 80

    Spinner {
        anchors { horizontalCenter: parent.horizontalCenter; top: parent.top; topMargin: 14 }
        delay: 0
        running: row.outlets.indicator("activityIndicator").animating
    }
    OutletLabel {
        anchors { left: parent.left; right: parent.right; bottom: parent.bottom; margins: 12 }
        outlet: row.outlets.label("loadingMessageLabel")
        horizontalAlignment: Text.AlignHCenter
        elide: Text.ElideRight
        font { family: Theme.family; pixelSize: 13 }
        color: Theme.secondaryText
    }
    Rectangle {
        anchors.bottom: parent.bottom
        width: parent.width * row.bar.progress
        height: 2
        color: Theme.accent
        Behavior on width {
            enabled: row.bar.animationDuration > 0
            NumberAnimation { duration: row.bar.animationDuration }
        }
    }
}
