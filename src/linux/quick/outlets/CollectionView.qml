import QtQuick
import Tessaly

/// A collection view that scrolls down.
Flickable {
    id: list

    required property CollectionViewOutlet outlet

    contentWidth: width
    interactive: outlet.scrollEnabled
    clip: true
    flickableDirection: Flickable.VerticalFlick
    boundsBehavior: Flickable.DragAndOvershootBounds
    pixelAligned: true

    function report(): void {
        if (width > 0 && height > 0)
            outlet.reportFrame(x, y, width, height);
    }
    onWidthChanged: report()
    onHeightChanged: report()
    // Not a binding: a list that becomes shorter moves, is laid out anew on that account, and has another height again.
    function fit(): void { contentHeight = outlet.contentHeight; }
    Component.onCompleted: {
        report();
        fit();
    }
    onContentYChanged: outlet.scrolledTo(0, contentY)
    onDraggingChanged: dragging ? outlet.dragBegan() : outlet.dragEnded(moving)
    onMovementEnded: outlet.movementEnded()

    Connections {
        target: list.outlet
        function onChanged(): void { list.fit(); }
        function onScrollRequested(x: real, y: real, animated: bool): void {
            glide.stop();
            list.cancelFlick();
            if (animated && Theme.duration > 0) {
                glide.to = y;
                glide.start();
            } else {
                list.contentY = y;
                if (animated)
                    list.outlet.animationEnded();
            }
        }
    }
    NumberAnimation {
        id: glide
        target: list
        property: "contentY"
        duration: Theme.duration
        easing.type: Easing.OutCubic
        onFinished: list.outlet.animationEnded()
    }
    CollectionContent {
        id: content
        width: list.width
        height: Math.max(list.height, list.outlet.contentHeight)
        outlet: list.outlet
        mirrored: Theme.mirrored

        TapHandler {
            acceptedButtons: Qt.LeftButton
            onTapped: eventPoint => content.tapAt(eventPoint.position.x, eventPoint.position.y)
            onLongPressed: list.outlet.longPressed(point.position)
        }
        TapHandler {
            // A finger has no buttons: it would pass for any.
            acceptedDevices: PointerDevice.Mouse | PointerDevice.TouchPad
            acceptedButtons: Qt.RightButton
            onTapped: eventPoint => list.outlet.longPressed(eventPoint.position)
        }
    }
    Rectangle {
        // Where one is in the list, while it moves.
        parent: list
        anchors.right: parent.right
        anchors.rightMargin: 2
        y: list.visibleArea.yPosition * list.height + 2
        width: 4
        height: Math.max(24, list.visibleArea.heightRatio * list.height - 4)
        radius: 2
        color: Theme.secondaryText
        opacity: list.moving && list.visibleArea.heightRatio < 1 ? 0.6 : 0
        Behavior on opacity { NumberAnimation { duration: Theme.duration } }
    }
}
