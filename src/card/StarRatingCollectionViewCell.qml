pragma ComponentBehavior: Bound
import QtQuick
import Tessaly

/// The rating row: five stars.
Interface {
    id: row

    readonly property LabelOutlet keyText: outlets.label("exifKeyLabel")
    readonly property ViewOutlet cell: outlets.self()
    readonly property int rating: one(1) + one(2) + one(3) + one(4) + one(5)

    implicitHeight: 40
    activeFocusOnTab: true
    Accessible.role: Accessible.ListItem
    Accessible.name: keyText.text + ", " + rating + " / 5"
    Accessible.focusable: true
    Accessible.ignored: !visible

    function one(number: int): int {
        return outlets.button("star" + number).selected ? 1 : 0;
    }

    Rectangle {
        anchors.fill: parent
        color: row.outlets.view("contentHolderView").backgroundColor
    }
    OutletLabel {
        anchors { left: parent.left; leftMargin: 14; right: stars.left; rightMargin: 10; verticalCenter: parent.verticalCenter }
        outlet: row.keyText
        height: row.height
        verticalAlignment: Text.AlignVCenter
        // The row keeps its height: a long word in large letters becomes smaller before it is cut.
        fontSizeMode: Text.Fit
        minimumPixelSize: 10
        wrapMode: Text.Wrap
        elide: Text.ElideRight
        Accessible.ignored: true
    }
    Row {
        id: stars
        anchors { right: parent.right; rightMargin: 12; verticalCenter: parent.verticalCenter }
        spacing: 3
        Repeater {
            model: 5
            Icon {
                required property int index
                readonly property ButtonOutlet star: row.outlets.button("star" + (index + 1))
                width: 19
                height: 19
                name: "star_filled"
                color: star.selected ? Theme.star : Theme.hairline
            }
        }
    }
    FocusRing { shown: row.activeFocus }
}
