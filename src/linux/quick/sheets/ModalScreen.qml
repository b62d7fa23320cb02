import QtQuick
import Tessaly

/// A screen over another one: all of a phone's window, a sheet in the middle of a tablet's.
FocusScope {
    id: modal

    property rect anchor
    readonly property bool wide: Theme.wide

    anchors.fill: parent
    opacity: 0

    function open(animated: bool): void {
        entry.enabled = animated;
        opacity = 1;
        sheet.shift = 0;
    }
    function close(animated: bool): void {
        entry.enabled = animated;
        opacity = 0;
        sheet.shift = 40;
        enabled = false;
        destroy(animated ? Theme.duration : 0);
    }

    Behavior on opacity {
        id: entry
        NumberAnimation { duration: Theme.duration; easing.type: Easing.OutCubic }
    }
    Keys.onEscapePressed: frame.host.leave()

    Rectangle { anchors.fill: parent; color: Theme.scrim }
    MouseArea { anchors.fill: parent; hoverEnabled: true; onClicked: if (modal.wide) frame.host.leave() }
    Rectangle {
        id: sheet
        property real shift: 40
        anchors.horizontalCenter: parent.horizontalCenter
        width: modal.wide ? Math.min(540, parent.width - 80) : parent.width
        height: modal.wide ? Math.min(720, parent.height - 80) : parent.height
        y: (parent.height - height) / 2 + shift
        radius: modal.wide ? 14 : 0
        color: Theme.surface
        clip: true
        Behavior on shift { NumberAnimation { duration: Theme.duration; easing.type: Easing.OutCubic } }
        MouseArea { anchors.fill: parent; hoverEnabled: true }
        ScreenFrame {
            id: frame
            anchors.fill: parent
            anchors.margins: modal.wide ? 4 : 0
        }
    }
}
