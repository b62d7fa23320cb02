pragma ComponentBehavior: Bound
import QtQuick
import Tessaly

/// A map. Sideways drags move it and two fingers, Control with the wheel, or a double tap zoom it; what goes up or down
/// with one finger belongs to the list around.
Item {
    id: map

    required property MapOutlet outlet
    property string title

    readonly property point middle: Qt.point(width / 2, height / 2)
    readonly property bool isTurned: Math.abs(outlet.heading > 180 ? outlet.heading - 360 : outlet.heading) > 0.5

    visible: !outlet.hidden
    opacity: outlet.alpha
    clip: true
    activeFocusOnTab: true
    Accessible.role: Accessible.Graphic
    Accessible.focusable: true
    Accessible.name: title.length > 0 ? title + ", " + outlet.placeName : outlet.placeName
    Accessible.ignored: outlet.accessibilityHidden

    function report(): void { outlet.reportFrame(x, y, width, height); }
    onWidthChanged: report()
    onHeightChanged: report()
    Component.onCompleted: report()

    Keys.onPressed: event => {
        const step = 60;
        switch (event.key) {
        case Qt.Key_Left: outlet.moved(Qt.point(step, 0)); break;
        case Qt.Key_Right: outlet.moved(Qt.point(-step, 0)); break;
        case Qt.Key_Up: outlet.moved(Qt.point(0, step)); break;
        case Qt.Key_Down: outlet.moved(Qt.point(0, -step)); break;
        case Qt.Key_Plus:
        case Qt.Key_Equal: outlet.zoomSmoothly(middle, 2, Theme.duration); break;
        case Qt.Key_Home: outlet.goBack(Theme.duration); break;
        case Qt.Key_Minus: outlet.zoomSmoothly(middle, 0.5, Theme.duration); break;
        default: return;
        }
        event.accepted = true;
    }

    MapGround {
        anchors.fill: parent
        outlet: map.outlet
        theme: Theme
    }
    Repeater {
        model: map.outlet.annotationCount
        Item {
            id: annotation

            required property int index
            readonly property mapAnnotation shown: map.outlet.annotations[index]
            readonly property bool isPin: shown.imageName === "map_pin"
            // The pin's stencil leaves air around it: its point, 22.6 of 24 down, comes to the lower edge.
            readonly property real unit: height / 21

            x: shown.position.x
            y: shown.position.y
            width: shown.size.width
            height: shown.size.height
            rotation: shown.rotation
            visible: width > 0

            Rectangle {
                visible: annotation.isPin
                anchors.horizontalCenter: parent.horizontalCenter
                y: 4.4 * annotation.unit
                width: 7.2 * annotation.unit
                height: width
                radius: width / 2
                color: Theme.surface
            }
            Icon {
                anchors.horizontalCenter: parent.horizontalCenter
                y: annotation.isPin ? -1.6 * annotation.unit : 0
                width: annotation.isPin ? 24 * annotation.unit : parent.width
                height: annotation.isPin ? width : parent.height
                name: annotation.shown.imageName
                color: Theme.accent
            }
        }
    }
    MouseArea {
        // Whoever goes sideways first keeps the drag; else the list takes it as soon as it goes up or down.
        anchors.fill: parent
        property point last
        property bool drags: false
        preventStealing: drags
        onPressed: event => {
            drags = false;
            map.forceActiveFocus(Qt.MouseFocusReason);
            last = Qt.point(event.x, event.y);
        }
        onPositionChanged: event => {
            const x = event.x - last.x;
            const y = event.y - last.y;
            if (!drags && Math.abs(x) > 3 && Math.abs(x) > 2 * Math.abs(y))
                drags = true;
            else if (!drags)
                return;
            map.outlet.moved(Qt.point(x, y));
            last = Qt.point(event.x, event.y);
        }
        onDoubleClicked: event => map.outlet.zoomSmoothly(Qt.point(event.x, event.y), 2, Theme.duration)
    }
    PinchHandler {
        id: pinch
        target: null
        property real lastScale: 1
        property real lastRotation: 0
        // Fingers that only spread do not turn the map.
        property bool turns: false
        onActiveChanged: {
            lastScale = 1;
            lastRotation = 0;
            turns = false;
        }
        onActiveScaleChanged: if (active) {
            map.outlet.zoomed(centroid.position, activeScale / lastScale);
            lastScale = activeScale;
        }
        onRotationChanged: if (active) {
            if (!turns && Math.abs(rotation) > 15) {
                turns = true;
                lastRotation = rotation;
            }
            if (turns)
                map.outlet.turned(centroid.position, rotation - lastRotation);
            lastRotation = turns ? rotation : 0;
        }
    }
    WheelHandler {
        target: null
        // Whoever scrolls past the map does not mean it; whoever has touched it, or holds Control, does.
        enabled: map.activeFocus
        onWheel: event => map.outlet.zoomed(Qt.point(event.x, event.y), Math.pow(2, event.angleDelta.y / 480))
    }
    WheelHandler {
        target: null
        acceptedModifiers: Qt.ControlModifier
        onWheel: event => map.outlet.zoomed(Qt.point(event.x, event.y), Math.pow(2, event.angleDelta.y / 480))
    }
    Touchable {
        id: wayBack
        anchors { bottom: parent.bottom; right: parent.right; margins: 4 }
        width: 44
        height: 44
        visible: map.outlet.isAway
        name: Theme.localized("Back to the marker")
        onTouched: map.outlet.goBack(Theme.duration)

        Rectangle {
            anchors.centerIn: parent
            width: 34
            height: 34
            radius: 17
            color: Theme.raised
            border { width: 1; color: Theme.hairline }
            opacity: wayBack.pressed ? 0.5 : 1
            Icon {
                anchors.centerIn: parent
                width: 18
                height: 18
                name: "location_pin"
                color: Theme.accent
            }
        }
    }
    Touchable {
        id: compass
        anchors { top: parent.top; right: parent.right; margins: 4 }
        width: 44
        height: 44
        visible: map.isTurned
        name: Theme.localized("True North")
        onTouched: map.outlet.turnNorthUp(Theme.duration)

        Rectangle {
            anchors.centerIn: parent
            width: 34
            height: 34
            radius: 17
            color: Theme.raised
            border { width: 1; color: Theme.hairline }
            rotation: -map.outlet.heading
            opacity: compass.pressed ? 0.5 : 1

            Text {
                anchors { horizontalCenter: parent.horizontalCenter; top: parent.top; topMargin: 1 }
                text: "↑"
                font { family: Theme.family; pixelSize: 15; weight: Font.Bold }
                color: Theme.accent
                Accessible.ignored: true
            }
            Text {
                anchors { horizontalCenter: parent.horizontalCenter; bottom: parent.bottom; bottomMargin: 2 }
                text: "N"
                font { family: Theme.family; pixelSize: 11; weight: Font.DemiBold }
                color: Theme.text
                Accessible.ignored: true
            }
        }
    }
    FocusRing { shown: map.activeFocus }
}
