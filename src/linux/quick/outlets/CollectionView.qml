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
    bottomMargin: outlet.bottomInset

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
    readonly property Item focused: Window.activeFocusItem
    onFocusedChanged: if (Theme.byKeyboard && holds(focused)) reveal(focused)

    function holds(item: Item): bool {
        for (let above = item; above; above = above.parent)
            if (above === content)
                return item !== content;
        return false;
    }
    function scrollTo(y: real): void {
        const to = Math.max(0, Math.min(y, contentHeight + bottomMargin - height));
        cancelFlick();
        glide.stop();
        if (Theme.duration > 0) {
            glide.to = to;
            glide.start();
        } else {
            contentY = to;
            outlet.animationEnded();
        }
    }
    /// Brings what the keyboard is at into sight, and makes what it will be at next.
    function reveal(item: Item): void {
        const top = item.mapToItem(content, 0, 0).y;
        const air = 52;
        const seen = height - bottomMargin;
        const lowest = Math.max(0, contentHeight + bottomMargin - height);
        glide.stop();
        contentY = Math.min(lowest, Math.max(0, Math.min(Math.max(contentY, top + item.height + air - seen), top - air)));
        content.settle();
        outlet.animationEnded();
    }
    Keys.onPressed: event => {
        if (event.modifiers & (Qt.ControlModifier | Qt.AltModifier | Qt.MetaModifier))
            return;
        const from = glide.running ? glide.to : contentY;
        const page = 0.9 * (height - bottomMargin);
        const isBack = event.modifiers & Qt.ShiftModifier;
        switch (event.key) {
        case Qt.Key_Down: scrollTo(from + 60); break;
        case Qt.Key_Up: scrollTo(from - 60); break;
        case Qt.Key_PageDown: scrollTo(from + page); break;
        case Qt.Key_PageUp: scrollTo(from - page); break;
        case Qt.Key_Space: scrollTo(isBack ? from - page : from + page); break;
        case Qt.Key_Home: scrollTo(0); break;
        case Qt.Key_End: scrollTo(contentHeight); break;
        default: return;
        }
        event.accepted = true;
    }
    WheelHandler {
        // The list moves by itself; the screen is told as of a finger's drag.
        target: null
        blocking: false
        onWheel: event => { if (event.angleDelta.y !== 0) list.outlet.wheeled(event.angleDelta.y < 0); }
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
