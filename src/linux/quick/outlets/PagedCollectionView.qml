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
    delegate: Item {
        width: ListView.view.width
        height: ListView.view.height
    }

    /// The page that is in sight.
    readonly property Item shown: content.current
    property bool jumping: false
    // The list below moves by itself when its width changes, and only finds its place with the next frame.
    property bool resizing: false
    // Where it was sent meanwhile; -1 for nowhere.
    property int awaited: -1
    // The page that a turn under way leads to; -1 without one. The list takes the nearest page for its current one
    // while it moves, so a second turn that begins then can end where the first did.
    property int destination: -1
    readonly property int wanted: outlet.itemCount

    // Nor does it keep its place when the number of pages changes.
    function recount(): void {
        resizing = true;
        model = wanted;
        frame.restart();
    }
    onWantedChanged: recount()

    function report(): void {
        if (width > 0 && height > 0)
            outlet.reportFrame(x, y, width, height);
    }
    function jump(index: int): void {
        jumping = true;
        destination = -1;
        forceLayout();
        highlightMoveDuration = 0;
        currentIndex = index;
        positionViewAtIndex(index, ListView.Beginning);
        highlightMoveDuration = Qt.binding(() => Theme.duration);
        jumping = false;
        settle();
    }
    function resettle(): void {
        const sent = awaited < 0 ? destination : awaited;
        resizing = false;
        awaited = -1;
        jump(sent < 0 ? outlet.page : sent);
        if (sent >= 0)
            outlet.movementEnded();
    }
    function settle(): void { outlet.scrolledTo(contentX - originX, 0); }

    onWidthChanged: {
        resizing = true;
        report();
        frame.restart();
    }
    onHeightChanged: report()
    Component.onCompleted: {
        report();
        recount();
    }
    onContentXChanged: if (!jumping && !resizing) settle()
    onDraggingChanged: {
        if (dragging)
            destination = -1;
        dragging ? outlet.dragBegan() : outlet.dragEnded(moving);
    }
    // What a finger began may only end once a key has sent the list elsewhere: that turn reports its own end.
    onMovementEnded: {
        if (destination < 0)
            outlet.movementEnded();
    }

    Connections {
        target: pages.outlet
        function onScrollRequested(x: real, y: real, animated: bool): void {
            const index = Math.round(x / pages.width);
            if (pages.resizing) {
                pages.awaited = animated ? index : -1;
                return;
            }
            if (animated && Theme.duration > 0) {
                pages.destination = index;
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
        id: frame
        interval: 1
        onTriggered: pages.resettle()
    }
    Timer {
        // Page turns by key end like those by finger.
        id: arrival
        interval: Theme.duration + 30
        onTriggered: {
            // A finger that came in between ends with a report of its own.
            if (pages.dragging || pages.destination < 0)
                return;
            pages.currentIndex = Math.min(pages.destination, pages.count - 1);
            // The animation takes longer where frames do.
            if (Math.abs(pages.contentX - pages.originX - pages.currentIndex * pages.width) > 0.5) {
                restart();
                return;
            }
            pages.destination = -1;
            pages.outlet.animationEnded();
            pages.outlet.movementEnded();
        }
    }
    CollectionContent {
        id: content
        parent: pages.contentItem
        x: pages.originX
        width: Math.max(pages.width, pages.outlet.contentWidth)
        height: pages.height
        outlet: pages.outlet
    }
}
