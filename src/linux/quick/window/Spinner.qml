pragma ComponentBehavior: Bound
import QtQuick
import Tessaly

/// Says that something is under way. Waits half a second before it shows itself: what is quick needs no spinner.
Item {
    id: spinner

    property bool running: false
    property color color: Theme.secondaryText
    property int delay: 500

    implicitWidth: 32
    implicitHeight: 32
    visible: running && waited
    property bool waited: false
    onRunningChanged: {
        waited = false;
        if (running)
            patience.restart();
        else
            patience.stop();
    }
    Component.onCompleted: if (running) patience.start()

    Timer {
        id: patience
        interval: spinner.delay
        onTriggered: spinner.waited = true
    }
    Repeater {
        model: 8
        Rectangle {
            required property int index
            readonly property real angle: index * Math.PI / 4
            x: spinner.width / 2 + Math.cos(angle) * spinner.width * 0.36 - width / 2
            y: spinner.height / 2 + Math.sin(angle) * spinner.height * 0.36 - height / 2
            width: spinner.width * 0.15
            height: width
            radius: width / 2
            color: spinner.color
            opacity: 0.2 + 0.8 * (((index - turn.step + 16) % 8) / 7)
        }
    }
    Timer {
        id: turn
        property int step: 0
        interval: 90
        repeat: true
        running: spinner.visible
        onTriggered: step = (step + 7) % 8
    }
}
