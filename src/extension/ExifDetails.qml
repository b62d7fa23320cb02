import QtQuick
import Tessaly

/// The detail screen: pages side by side, the action bar that slides up over them, and the banner.
Interface {
    id: screen

    readonly property ConstraintOutlet barBottom: outlets.constraint("bottomBarBottomToViewControllerBottomLayoutConstraint")
    readonly property ConstraintOutlet barHeight: outlets.constraint("bottomBarHeightConstraint")
    readonly property ConstraintOutlet bannerDistance: outlets.constraint("messageViewBottomToBottomBarTopVerticalSpaceConstraint")

    focus: true
    // Keys that scroll are the page's.
    Keys.forwardTo: pages.shown ? [pages.shown] : []
    Keys.onLeftPressed: pages.outlet.turnPages(-1)
    Keys.onRightPressed: pages.outlet.turnPages(1)
    Keys.onPressed: event => {
        const last = pages.outlet.itemCount - 1;
        if (!(event.modifiers & Qt.ControlModifier))
            return;
        if (event.key === Qt.Key_Home)
            pages.outlet.turnToPage(0);
        else if (event.key === Qt.Key_End)
            pages.outlet.turnToPage(last);
        else
            return;
        event.accepted = true;
    }

    Column {
        // Nothing to show, and nothing on its way.
        anchors.centerIn: parent
        width: parent.width - 80
        spacing: 14
        visible: pages.outlet.itemCount === 0 && patience.over
        Icon {
            anchors.horizontalCenter: parent.horizontalCenter
            width: 56
            height: 56
            name: "photo"
            color: Theme.secondaryText
        }
        Text {
            width: parent.width
            horizontalAlignment: Text.AlignHCenter
            wrapMode: Text.Wrap
            text: Theme.localized("No photos to show")
            font { family: Theme.family; pixelSize: 15 * Theme.textScale; weight: Font.Medium }
            color: Theme.secondaryText
        }
    }
    Timer {
        id: patience
        property bool over: false
        interval: 400
        running: true
        onTriggered: over = true
    }

    PagedCollectionView {
        id: pages
        anchors.fill: parent
        outlet: screen.outlets.collection("collectionView")
    }

    ActionBar {
        id: bar
        outlets: screen.outlets
        anchors { left: parent.left; right: parent.right }
        height: screen.barHeight.constant * scaled
        y: parent.height - height - screen.barBottom.constant * scaled
        Behavior on y {
            enabled: screen.barBottom.animationDuration > 0
            NumberAnimation { duration: screen.barBottom.animationDuration; easing.type: Easing.OutCubic }
        }
    }

    Rectangle {
        id: banner
        readonly property ViewOutlet outlet: screen.outlets.view("messageHolderView")
        readonly property LabelOutlet message: screen.outlets.label("successOrErrorMessageLabel")
        readonly property real distance: screen.bannerDistance.constant

        anchors { left: parent.left; right: parent.right }
        height: Math.max(52, label.implicitHeight + 28)
        // It rests on the bar, or on the screen's edge, and goes out below.
        y: (bar.visible ? Math.min(bar.y, parent.height) : parent.height) - height - distance
        visible: !outlet.hidden && y < parent.height
        color: outlet.backgroundColor
        Behavior on y {
            enabled: screen.bannerDistance.animationDuration > 0
            NumberAnimation { duration: screen.bannerDistance.animationDuration; easing.type: Easing.OutCubic }
        }
        Accessible.role: Accessible.AlertMessage
        Accessible.name: message.text

        Text {
            id: label
            anchors { left: parent.left; right: parent.right; margins: 20; verticalCenter: parent.verticalCenter }
            horizontalAlignment: Text.AlignHCenter
            wrapMode: Text.Wrap
            text: banner.message.text
            textFormat: Text.PlainText
            font { family: Theme.family; pixelSize: 14 * Math.min(Theme.textScale, 2); weight: Font.DemiBold }
            color: banner.message.color
            Accessible.ignored: true
        }
    }
}
