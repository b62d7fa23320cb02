import QtQuick
import Tessaly

/// A language: its name, and below it its own word for itself.
Interface {
    id: row

    readonly property ViewOutlet cell: outlets.self()

    implicitHeight: names.height + 20
    activeFocusOnTab: true
    Accessible.role: Accessible.RadioButton
    Accessible.name: cell.accessibleLabel
    Accessible.description: cell.accessibleValue
    Accessible.focusable: true
    Accessible.checkable: true
    Accessible.checked: mark.visible
    Accessible.onPressAction: (row.parent as CollectionContent)?.press(row)
    Accessible.ignored: !visible

    Rectangle {
        anchors.fill: parent
        color: Theme.surface
        Rectangle {
            anchors { left: parent.left; leftMargin: 14; right: parent.right; bottom: parent.bottom }
            height: 1
            color: Theme.hairline
        }
    }
    Column {
        id: names
        anchors { left: parent.left; leftMargin: 14; right: mark.left; rightMargin: 10; verticalCenter: parent.verticalCenter }
        spacing: 2
        OutletLabel {
            width: parent.width
            outlet: row.outlets.label("nameLabel")
            elide: Text.ElideRight
            Accessible.ignored: true
        }
        OutletLabel {
            width: parent.width
            outlet: row.outlets.label("nativeNameLabel")
            elide: Text.ElideRight
            Accessible.ignored: true
        }
    }
    OutletImage {
        id: mark
        anchors { right: parent.right; rightMargin: 14; verticalCenter: parent.verticalCenter }
        width: 22
        height: 22
        outlet: row.outlets.image("checkmarkImageView")
        iconColor: Theme.accent
    }
    FocusRing { shown: row.activeFocus }
}
