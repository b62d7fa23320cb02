import QtQuick
import Tessaly

/// Covers a screen while it works, and shows how far it is where that is known.
Item {
    id: overlay

    required property HudOutlet hud
    readonly property bool measured: hud.progress >= 0

    visible: hud.shown
    Accessible.role: Accessible.ProgressBar
    Accessible.name: hud.text.length > 0 ? hud.text : Theme.localized("Loading")
    Accessible.ignored: !hud.shown

    // Nothing below can be touched meanwhile.
    MouseArea { anchors.fill: parent; hoverEnabled: true }

    Rectangle {
        anchors.centerIn: parent
        width: Math.max(96, message.visible ? Math.min(overlay.width - 48, message.implicitWidth + 40) : 96)
        height: content.height + 48
        radius: 16
        visible: spinner.visible || overlay.measured
        color: Theme.raised
        border { width: 1; color: Theme.hairline }

        Column {
            id: content
            anchors.centerIn: parent
            width: parent.width - 40
            spacing: 14

            Spinner {
                id: spinner
                anchors.horizontalCenter: parent.horizontalCenter
                width: 40
                height: 40
                running: overlay.hud.shown && !overlay.measured
                color: Theme.text
            }
            Rectangle {
                visible: overlay.measured
                width: parent.width
                height: 6
                radius: 3
                color: Theme.hairline
                Rectangle {
                    width: parent.width * Math.max(0, overlay.hud.progress)
                    height: parent.height
                    radius: 3
                    color: Theme.accent
                    Behavior on width { NumberAnimation { duration: Theme.duration } }
                }
            }
            Text {
                id: message
                visible: text.length > 0
                width: parent.width
                text: overlay.hud.text
                textFormat: Text.PlainText
                wrapMode: Text.Wrap
                horizontalAlignment: Text.AlignHCenter
                font { family: Theme.family; pixelSize: 14; weight: Font.Medium }
                color: Theme.text
                Accessible.ignored: true
            }
        }
    }
}
