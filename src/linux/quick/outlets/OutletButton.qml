import QtQuick
import Tessaly

/// A button: its image, else its title.
Touchable {
    id: button

    required property ButtonOutlet outlet
    property real iconSize: 24
    property color iconColor: outlet.hasTintColor ? outlet.tintColor : Theme.accent
    property int fontSize: 15

    visible: !outlet.hidden
    enabled: outlet.enabled && outlet.touchable
    opacity: (outlet.enabled ? outlet.alpha : 0.4) * (pressed ? 0.5 : 1)
    name: outlet.accessibleLabel.length > 0 ? outlet.accessibleLabel : outlet.title
    Accessible.ignored: outlet.accessibilityHidden
    Accessible.description: outlet.accessibleHint
    implicitWidth: Math.max(44, title.implicitWidth + 16)
    implicitHeight: 44
    onTouched: outlet.touched()

    Icon {
        anchors.centerIn: parent
        width: button.iconSize
        height: button.iconSize
        visible: button.outlet.imageName.length > 0
        name: button.outlet.imageName
        color: button.iconColor
    }
    Text {
        id: title
        anchors.centerIn: parent
        width: Math.min(implicitWidth, button.width - 8)
        elide: Text.ElideRight
        visible: button.outlet.imageName.length === 0
        text: button.outlet.title
        textFormat: Text.PlainText
        font { family: Theme.family; pixelSize: button.fontSize; weight: Font.DemiBold }
        color: button.outlet.titleColor
        Accessible.ignored: true
    }
}
