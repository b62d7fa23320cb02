import QtQuick
import Tessaly

/// A collection view that turns pages sideways. The list under it only moves; the pages lie upon it.
ListView {
    id: pages

    required property CollectionViewOutlet outlet

    orientation: ListView.Horizontal
    layoutDirection: Qt.LeftToRight
    snapMode: ListView.SnapOneItem
    highlightRangeMode: ListView.StrictlyEnforceRange
    preferredHighlightBegin: 0
    preferredHighlightEnd: 0
    highlightMoveDuration: Theme.duration
    boundsBehavior: Flickable.DragOverBounds
    flickDeceleration: 6000
    cacheBuffer: 0
    interactive: outlet.scrollEnabled
    clip: true
    model: outlet.itemCount
    delegate: Item {
        width: ListView.view.width
        height: ListView.view.height
    }

    property bool jumping: false

    function report(): void {
        if (width > 0 && height > 0)
            outlet.reportFrame(x, y, width, height);
    }
    function jump(index: int): void {
        jumping = true;
        highlightMoveDuration = 0;
        currentIndex = index;
        positionViewAtIndex(index, ListView.Beginning);
        highlightMoveDuration = Qt.binding(() => Theme.duration);
        jumping = false;
        settle();
    }
    function settle(): void { outlet.scrolledTo(contentX - originX, 0); }

    onWidthChanged: report()
    onHeightChanged: report()
    Component.onCompleted: report()
    onContentXChanged: if (!jumping) settle()
    onDraggingChanged: dragging ? outlet.dragBegan() : outlet.dragEnded(moving)
    onMovementEnded: outlet.movementEnded()

    Connections {
        target: pages.outlet
        function onScrollRequested(x: real, y: real, animated: bool): void {
            const index = Math.round(x / pages.width);
            if (animated && Theme.duration > 0) {
                pages.currentIndex = index;
                arrival.restart();
            } else {
                pages.jump(index);
                if (animated)
                    pages.outlet.movementEnded();
            }
        }
    }
    Timer {
        // Page turns by key end like those by finger.
        id: arrival
        interval: Theme.duration + 30
        onTriggered: {
            pages.outlet.animationEnded();
            pages.outlet.movementEnded();
        }
    }
    CollectionContent {
        parent: pages.contentItem
        x: pages.originX
        width: Math.max(pages.width, pages.outlet.contentWidth)
        height: pages.height
        outlet: pages.outlet
    }
}
