pragma ComponentBehavior: Bound
import QtQuick
import Tessaly

/// Over the photo's lower edge, on a gradient: place and size on the left, date and name on the right.
Interface {
    id: line

    implicitHeight: 96

    Rectangle {
        anchors.fill: parent
        gradient: Gradient {
            GradientStop { position: 0; color: "transparent" }
            GradientStop { position: 0.35; color: "#73000000" }
            GradientStop { position: 0.6; color: "#b0000000" }
            GradientStop { position: 1; color: "#d0000000" }
        }
    }

    component Caption: OutletLabel {
        font { family: Theme.family; pixelSize: 13; weight: Font.Medium }
        color: "white"
        elide: Text.ElideRight
        maximumLineCount: 1
    }
    component Toggle: Touchable {
        id: toggle
        required property ButtonOutlet outlet
        name: outlet.accessibleLabel
        // Without a text there is nothing to change, and nothing to tell.
        visible: toggle.name.length > 0
        onTouched: outlet.touched()
    }

    Icon {
        id: pin
        anchors { left: parent.left; leftMargin: 14; verticalCenter: place.verticalCenter }
        width: 13
        height: 13
        name: "location_pin"
        color: "white"
    }
    Caption {
        id: place
        anchors { left: pin.right; leftMargin: 4; bottom: size.top; bottomMargin: 3; right: date.left; rightMargin: 12 }
        outlet: line.outlets.label("locationLabel")
        horizontalAlignment: Text.AlignLeft
    }
    Caption {
        id: size
        anchors { left: parent.left; leftMargin: 14; bottom: parent.bottom; bottomMargin: 11 }
        width: Math.min(implicitWidth, line.width * 0.52)
        outlet: line.outlets.label("imageDimensionAndFileSize")
        opacity: 0.88
    }
    Caption {
        id: date
        anchors { right: parent.right; rightMargin: 14; bottom: name.top; bottomMargin: 3 }
        width: Math.min(implicitWidth, line.width * 0.5)
        outlet: line.outlets.label("dateTakenLabel")
        horizontalAlignment: Text.AlignRight
    }
    Caption {
        id: name
        anchors { right: parent.right; rightMargin: 14; bottom: parent.bottom; bottomMargin: 11 }
        width: Math.min(implicitWidth, line.width - size.width - 44)
        outlet: line.outlets.label("imageFileNameLabel")
        horizontalAlignment: Text.AlignRight
        elide: Text.ElideMiddle
        opacity: 0.88
    }
    Toggle {
        outlet: line.outlets.button("locationToggleButton")
        anchors { left: parent.left; right: parent.horizontalCenter; bottom: parent.bottom }
        height: 56
    }
    Toggle {
        outlet: line.outlets.button("dateToggleButton")
        anchors { left: parent.horizontalCenter; right: parent.right; bottom: parent.bottom }
        height: 56
    }
}
