pragma ComponentBehavior: Bound
import QtQuick
import Tessaly

/// A page without photos: an icon, a sentence, what can be done, and the buttons that do it. Scrolls where letters are
/// so large that it does not fit.
Interface {
    id: page

    focus: true

    component Choice: Touchable {
        id: choice
        required property ButtonOutlet outlet
        property bool first: false
        anchors.horizontalCenter: parent ? parent.horizontalCenter : undefined
        width: Math.min(parent ? parent.width : 0, 360)
        height: Math.max(48, caption.implicitHeight + 24)
        visible: !outlet.hidden
        opacity: pressed ? 0.5 : 1
        name: outlet.accessibleLabel
        onTouched: outlet.touched()

        Rectangle {
            anchors.fill: parent
            radius: 12
            color: choice.first ? Theme.accent : "transparent"
            border { width: 1; color: Theme.accent }
        }
        Text {
            id: caption
            anchors { left: parent.left; right: parent.right; margins: 14; verticalCenter: parent.verticalCenter }
            horizontalAlignment: Text.AlignHCenter
            wrapMode: Text.Wrap
            text: choice.outlet.title
            textFormat: Text.PlainText
            font { family: Theme.family; pixelSize: 16 * Theme.textScale; weight: Font.DemiBold }
            color: choice.first ? Theme.surface : Theme.accent
            Accessible.ignored: true
        }
    }

    Flickable {
        id: area
        anchors.fill: parent
        contentHeight: content.height + 48
        boundsBehavior: Flickable.StopAtBounds

        Column {
            id: content
            x: (area.width - width) / 2
            y: Math.max(24, (area.height - height) / 2)
            width: Math.min(area.width - 48, 560)
            spacing: 16

            Icon {
                anchors.horizontalCenter: parent.horizontalCenter
                width: 56
                height: 56
                name: page.outlets.image("iconImageView").imageName
                color: Theme.secondaryText
            }
            OutletLabel {
                width: parent.width
                outlet: page.outlets.label("messageLabel")
                horizontalAlignment: Text.AlignHCenter
                wrapMode: Text.Wrap
                font { family: Theme.family; pixelSize: 18 * Theme.textScale; weight: Font.DemiBold }
                color: Theme.text
                Accessible.role: Accessible.Heading
            }
            OutletLabel {
                width: parent.width
                outlet: page.outlets.label("adviceLabel")
                horizontalAlignment: Text.AlignHCenter
                wrapMode: Text.Wrap
                font { family: Theme.family; pixelSize: 15 * Theme.textScale; weight: Font.Medium }
                color: Theme.secondaryText
            }
            Choice {
                first: true
                outlet: page.outlets.button("firstButton")
            }
            Choice { outlet: page.outlets.button("secondButton") }
        }
    }
}
