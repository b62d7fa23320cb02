pragma ComponentBehavior: Bound
import QtQuick
import Tessaly

/// The bar above a screen.
Rectangle {
    id: bar

    required property NavigationOutlet navigation

    /// Letters grow with the person's text size as far as a bar has room for them.
    readonly property real scaled: Math.min(Math.max(Theme.textScale, 0.8), 1.6)

    implicitHeight: 52
    color: Theme.surface

    component BarButton: Touchable {
        id: button
        required property BarButtonOutlet outlet
        width: Math.max(44, caption.visible ? caption.implicitWidth + 28 : 44)
        height: bar.height
        name: outlet.accessibleLabel
        objectName: outlet.identifier
        opacity: pressed ? 0.45 : 1
        onTouched: outlet.touched()

        Text {
            id: caption
            anchors.centerIn: parent
            visible: button.outlet.imageName.length === 0
            text: button.outlet.title
            textFormat: Text.PlainText
            font { family: Theme.family; pixelSize: 16 * bar.scaled; weight: Font.DemiBold }
            color: Theme.accent
            Accessible.ignored: true
        }
        Icon {
            anchors.centerIn: parent
            width: 24
            height: 24
            visible: !caption.visible
            name: button.outlet.imageName
            color: Theme.accent
        }
    }

    Row {
        id: left
        anchors { left: parent.left; top: parent.top; bottom: parent.bottom }
        Repeater {
            model: bar.navigation.leftButtons
            BarButton {
                required property var modelData
                outlet: modelData as BarButtonOutlet
            }
        }
    }
    Row {
        id: right
        anchors { right: parent.right; rightMargin: 4; top: parent.top; bottom: parent.bottom }
        Repeater {
            // The keyboard walks in the order of the items: that of the eye.
            model: Array.from(bar.navigation.rightButtons).reverse()
            BarButton {
                required property var modelData
                outlet: modelData as BarButtonOutlet
            }
        }
    }
    Text {
        // Centred in the bar, until that would touch the buttons.
        readonly property real side: Math.max(left.width, right.width) + 8
        anchors.centerIn: parent
        width: Math.max(0, bar.width - 2 * side)
        height: bar.height - 8
        horizontalAlignment: Text.AlignHCenter
        verticalAlignment: Text.AlignVCenter
        // Large letters become smaller before a name is cut.
        fontSizeMode: bar.scaled > 1 ? Text.HorizontalFit : Text.FixedSize
        minimumPixelSize: 12
        elide: Text.ElideMiddle
        text: bar.navigation.title
        textFormat: Text.PlainText
        font { family: Theme.family; pixelSize: 16 * bar.scaled; weight: Font.DemiBold }
        color: Theme.text
        TapHandler { onLongPressed: bar.navigation.titleHeld() }
        TapHandler {
            acceptedDevices: PointerDevice.Mouse | PointerDevice.TouchPad
            acceptedButtons: Qt.RightButton
            onTapped: bar.navigation.titleHeld()
        }
        Accessible.role: Accessible.Heading
        Accessible.name: text
    }
    Rectangle {
        anchors { left: parent.left; right: parent.right; bottom: parent.bottom }
        height: 1
        color: Theme.hairline
    }
}
