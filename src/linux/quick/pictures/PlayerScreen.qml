pragma ComponentBehavior: Bound
import QtQuick
import Tessaly

/// A movie that fills the window, and what controls it: gone while it plays and nobody asks, back with the first touch.
FocusScope {
    id: screen

    required property PlayerOutlet player
    property rect anchor
    readonly property bool failed: player.failureText.length > 0
    readonly property bool controlled: !player.playing || failed || patience.running || reading
    readonly property bool reading: doneButton.activeFocus || playButton.activeFocus || muteButton.activeFocus
                                    || seekBar.pressed
    readonly property color ink: "#ffffff"
    readonly property int skipTime: 5000

    /// How the window was shown before the movie took the whole screen; -1 while it has not.
    property int shownBefore: -1

    anchors.fill: parent
    opacity: 0

    function toggleFullScreen(): void {
        if (shownBefore >= 0) {
            Window.window.visibility = shownBefore;
            shownBefore = -1;
        } else {
            shownBefore = Window.visibility;
            Window.window.visibility = Window.FullScreen;
        }
    }

    function open(animated: bool): void {
        entry.enabled = animated;
        opacity = 1;
        patience.restart();
        canvas.forceActiveFocus();
    }
    function close(animated: bool): void {
        if (shownBefore >= 0)
            toggleFullScreen();
        entry.enabled = animated;
        opacity = 0;
        enabled = false;
        destroy(animated ? Theme.duration : 0);
    }
    function show(): void { patience.restart(); }
    /// The controls went away while a button had the keyboard, or were touched away.
    function hide(): void {
        patience.stop();
        canvas.forceActiveFocus();
    }

    Accessible.role: Accessible.Dialog
    Accessible.name: Theme.localized("Video")

    Behavior on opacity {
        id: entry
        NumberAnimation { duration: Theme.duration; easing.type: Easing.OutCubic }
    }
    Keys.onEscapePressed: player.close()
    Keys.onSpacePressed: { show(); player.toggle(); }
    Keys.onLeftPressed: { show(); player.skip(-skipTime); }
    Keys.onRightPressed: { show(); player.skip(skipTime); }
    Keys.onPressed: event => {
        show();
        switch (event.key) {
        case Qt.Key_MediaPlay:
        case Qt.Key_MediaPause:
        case Qt.Key_MediaTogglePlayPause:
        case Qt.Key_K: player.toggle(); break;
        case Qt.Key_Home: player.seek(0); break;
        case Qt.Key_F:
        case Qt.Key_F11: toggleFullScreen(); break;
        case Qt.Key_M: player.muted = !player.muted; break;
        case Qt.Key_Back:
        case Qt.Key_MediaStop: player.close(); break;
        default: return;
        }
        event.accepted = true;
    }

    Timer { id: patience; interval: 3000; onTriggered: screen.hide() }

    Rectangle { anchors.fill: parent; color: "#000000" }
    MovieItem {
        id: canvas
        anchors.fill: parent
        player: screen.player
        focus: true
    }
    MouseArea {
        anchors.fill: parent
        hoverEnabled: true
        cursorShape: screen.controlled ? Qt.ArrowCursor : Qt.BlankCursor
        onPositionChanged: screen.show()
        onClicked: if (screen.controlled && screen.player.playing) screen.hide(); else screen.show()
    }
    Spinner {
        anchors.centerIn: parent
        width: 40
        height: 40
        color: screen.ink
        running: !screen.player.ready && !screen.failed
    }
    Column {
        anchors.centerIn: parent
        width: Math.min(360, parent.width - 56)
        spacing: 14
        visible: screen.failed
        Icon {
            anchors.horizontalCenter: parent.horizontalCenter
            width: 44
            height: 44
            name: "broken"
            color: "#c8c8c8"
        }
        Text {
            width: parent.width
            text: screen.player.failureText
            textFormat: Text.PlainText
            horizontalAlignment: Text.AlignHCenter
            wrapMode: Text.Wrap
            font { family: Theme.family; pixelSize: Math.round(15 * Theme.textScale); weight: Font.Medium }
            color: screen.ink
            Accessible.role: Accessible.AlertMessage
            Accessible.name: text
        }
    }

    Item {
        id: controls
        anchors.fill: parent
        opacity: screen.controlled ? 1 : 0
        visible: opacity > 0
        Behavior on opacity { NumberAnimation { duration: Theme.duration; easing.type: Easing.OutCubic } }

        Rectangle {
            anchors { left: parent.left; right: parent.right; top: parent.top }
            height: 96
            gradient: Gradient {
                GradientStop { position: 0; color: "#a0000000" }
                GradientStop { position: 1; color: "#00000000" }
            }
        }
        Rectangle {
            anchors { left: parent.left; right: parent.right; bottom: parent.bottom }
            height: 132
            visible: bar.visible
            gradient: Gradient {
                GradientStop { position: 0; color: "#00000000" }
                GradientStop { position: 1; color: "#c8000000" }
            }
        }
        Touchable {
            id: doneButton
            anchors { left: parent.left; top: parent.top; margins: 8 }
            width: doneText.implicitWidth + 24
            height: 44
            name: doneText.text
            onTouched: screen.player.close()
            Text {
                id: doneText
                anchors.centerIn: parent
                text: Theme.localized("Done")
                textFormat: Text.PlainText
                font { family: Theme.family; pixelSize: 17; weight: Font.DemiBold }
                color: screen.ink
                opacity: doneButton.pressed ? 0.5 : 1
                Accessible.ignored: true
            }
        }
        Touchable {
            id: playButton
            anchors.centerIn: parent
            width: 76
            height: 76
            visible: screen.player.ready
            name: Theme.localized(screen.player.playing ? "Pause" : "Play")
            onTouched: { screen.show(); screen.player.toggle(); }
            Rectangle {
                anchors.fill: parent
                radius: width / 2
                color: playButton.pressed ? "#c0303030" : "#80000000"
            }
            Icon {
                anchors.centerIn: parent
                width: 40
                height: 40
                name: screen.player.playing ? "player_pause" : "player_play"
                color: screen.ink
            }
        }
        Item {
            id: bar
            anchors { left: parent.left; right: parent.right; bottom: parent.bottom; margins: 14 }
            height: 64
            visible: screen.player.ready

            component Time: Text {
                textFormat: Text.PlainText
                font { family: Theme.family; pixelSize: 13; weight: Font.Medium }
                color: screen.ink
            }

            SeekBar {
                id: seekBar
                anchors { left: parent.left; right: muteButton.visible ? muteButton.left : parent.right; top: parent.top }
                height: 44
                visible: screen.player.seekable
            }
            Time {
                anchors { left: parent.left; bottom: parent.bottom }
                text: screen.player.positionText
                Accessible.ignored: true
            }
            Time {
                anchors { right: seekBar.right; bottom: parent.bottom }
                visible: screen.player.seekable
                text: screen.player.remainingText
                Accessible.ignored: true
            }
            Touchable {
                id: muteButton
                anchors { right: parent.right; verticalCenter: seekBar.verticalCenter }
                width: 52
                height: 44
                visible: screen.player.hasAudio
                name: Theme.localized(screen.player.muted ? "Sound on" : "Sound off")
                onTouched: { screen.show(); screen.player.muted = !screen.player.muted; }
                Icon {
                    anchors.centerIn: parent
                    width: 24
                    height: 24
                    name: screen.player.muted ? "sound_off" : "sound"
                    color: screen.ink
                    opacity: muteButton.pressed ? 0.5 : 1
                }
            }
        }
    }

    /// The movie's length, from left to right in every language, as the frames run.
    component SeekBar: Item {
        id: seeker
        readonly property bool pressed: drag.pressed
        readonly property real share: screen.player.duration > 0 ? screen.player.position / screen.player.duration : 0
        LayoutMirroring.enabled: false

        activeFocusOnTab: true
        Accessible.role: Accessible.Slider
        Accessible.name: Theme.localized("Position")
        Accessible.description: screen.player.positionText
        Accessible.focusable: true
        Accessible.onIncreaseAction: screen.player.skip(screen.skipTime)
        Accessible.onDecreaseAction: screen.player.skip(-screen.skipTime)

        Rectangle {
            id: track
            anchors.verticalCenter: parent.verticalCenter
            width: parent.width
            height: 4
            radius: 2
            color: "#70ffffff"
            Rectangle {
                width: parent.width * seeker.share
                height: parent.height
                radius: 2
                color: screen.ink
            }
        }
        Rectangle {
            x: Math.max(0, Math.min(parent.width - width, parent.width * seeker.share - width / 2))
            anchors.verticalCenter: parent.verticalCenter
            width: seeker.pressed ? 20 : 14
            height: width
            radius: width / 2
            color: screen.ink
            border { width: seeker.activeFocus ? 3 : 0; color: Theme.accent }
        }
        MouseArea {
            id: drag
            function place(x: real): void { screen.player.seek(screen.player.duration * x / width); }
            anchors.fill: parent
            preventStealing: true
            onPressed: mouse => place(mouse.x)
            onPositionChanged: mouse => { screen.show(); place(mouse.x); }
            onReleased: screen.show()
        }
    }
}
