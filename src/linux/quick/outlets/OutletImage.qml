import QtQuick
import Tessaly

/// An image view: a picture that fades in, or an icon in the tint colour.
Item {
    id: image

    required property ImageOutlet outlet
    property color iconColor: outlet.hasTintColor ? outlet.tintColor : Theme.text
    readonly property bool ready: picture.ready

    visible: !outlet.hidden
    opacity: outlet.alpha
    rotation: outlet.rotationDegrees
    Behavior on rotation {
        enabled: image.outlet.animationDuration > 0
        NumberAnimation { duration: image.outlet.animationDuration; easing.type: image.outlet.animationEasing }
    }
    Accessible.ignored: !outlet.isAccessible || outlet.accessibilityHidden
    Accessible.role: Accessible.Graphic
    Accessible.name: outlet.accessibleLabel

    PictureItem {
        id: picture
        anchors.fill: parent
        outlet: image.outlet
        opacity: ready ? 1 : 0
        Behavior on opacity { NumberAnimation { duration: Theme.duration; easing.type: Easing.OutCubic } }
    }
    Icon {
        anchors.fill: parent
        visible: image.outlet.imageName.length > 0 && !image.outlet.hasPicture
        name: image.outlet.imageName
        color: image.iconColor
    }
}
