import QtQuick
import Tessaly

/// The map row: a title, and the map of where the photo was taken.
Interface {
    id: row

    readonly property ViewOutlet holder: outlets.view("mapHolderView")
    readonly property ViewOutlet content: outlets.view("contentHolderView")
    readonly property LabelOutlet titleText: outlets.label("mapViewLabel")
    readonly property ButtonOutlet openButton: outlets.button("openInMapsButton")
    readonly property ConstraintOutlet wantedWidth: outlets.constraint("widthConstraint")
    readonly property ConstraintOutlet wantedHeight: outlets.constraint("heightConstraint")

    implicitWidth: wantedWidth.constant
    implicitHeight: wantedHeight.constant

    Rectangle {
        anchors.fill: parent
        visible: !row.content.hidden
        color: row.content.backgroundColor

        Rectangle {
            anchors.fill: parent
            visible: !row.holder.hidden
            color: row.holder.backgroundColor

            Text {
                id: title
                anchors {
                    left: parent.left
                    leftMargin: 14
                    right: open.visible ? open.left : parent.right
                    rightMargin: 14
                    top: parent.top
                }
                LayoutMirroring.enabled: Theme.mirrored
                height: Math.max(40, implicitHeight + 16)
                verticalAlignment: Text.AlignVCenter
                horizontalAlignment: Text.AlignLeft
                elide: Text.ElideRight
                visible: !row.titleText.hidden
                text: row.titleText.text
                textFormat: Text.PlainText
                font { family: Theme.family; pixelSize: Math.round(14 * Theme.textScale); weight: Font.Medium }
                color: row.titleText.color
                Accessible.ignored: true
            }
            OutletButton {
                id: open
                anchors { right: parent.right; rightMargin: 6; verticalCenter: title.verticalCenter }
                LayoutMirroring.enabled: Theme.mirrored
                width: Math.min(implicitWidth, row.width * 0.6)
                outlet: row.openButton
                fontSize: 14
            }
            MapView {
                anchors { left: parent.left; right: parent.right; top: title.bottom; bottom: parent.bottom }
                outlet: row.outlets.map("mapView")
                title: row.titleText.text
            }
        }
    }
}
