import QtQuick
import Tessaly

/// A plain view: surface, visibility, rotation, accessibility.
Rectangle {
    id: view

    required property ViewOutlet outlet
    property bool reportsFrame: false

    visible: !outlet.hidden
    opacity: outlet.alpha
    color: outlet.backgroundColor
    radius: outlet.cornerRadius
    clip: outlet.clips
    rotation: outlet.rotationDegrees
    enabled: outlet.touchable
    Accessible.ignored: !outlet.isAccessible || outlet.accessibilityHidden
    Accessible.role: Accessible.Grouping
    Accessible.name: outlet.accessibleLabel
    Accessible.description: outlet.accessibleValue

    Behavior on opacity {
        enabled: view.outlet.animationDuration > 0
        NumberAnimation { duration: view.outlet.animationDuration; easing.type: view.outlet.animationEasing }
    }
    Behavior on rotation {
        enabled: view.outlet.animationDuration > 0
        NumberAnimation { duration: view.outlet.animationDuration; easing.type: view.outlet.animationEasing }
    }

    function report(): void {
        if (reportsFrame)
            outlet.reportFrame(x, y, width, height);
    }
    onWidthChanged: report()
    onHeightChanged: report()
    Component.onCompleted: report()
}
