pragma ComponentBehavior: Bound
import QtQuick
import Tessaly

/// Over the photo's lower edge, on a gradient: place and size on the left, date and name on the right.
Interface {
    id: line

    /// Letters grow with the person's text size; large ones have a line for each text.
    readonly property real scaled: Math.min(Math.max(Theme.textScale, 0.8), 2)
    readonly property bool stacked: scaled > 1.3
    readonly property real margin: 14
    readonly property color veil: outlets.self().backgroundColor

    implicitHeight: stacked ? place.height + date.height + size.height + name.height + 44 : 96 * Math.max(1, scaled)

    // Even behind the texts; above them it goes over into the photo.
    Rectangle {
        anchors { left: parent.left; right: parent.right; top: parent.top; bottom: ground.top }
        gradient: Gradient {
            GradientStop { position: 0; color: Qt.alpha(line.veil, 0) }
            GradientStop { position: 1; color: line.veil }
        }
    }
    Rectangle {
        id: ground
        anchors { left: parent.left; right: parent.right; bottom: parent.bottom }
        height: line.stacked ? line.height - 20 : 54 * Math.max(1, line.scaled)
        color: line.veil
    }

    component Caption: OutletLabel {
        font { family: Theme.family; pixelSize: 13 * line.scaled; weight: outlet.font.weight }
        // A text that is too long becomes smaller before it is cut.
        fontSizeMode: line.stacked ? Text.HorizontalFit : Text.FixedSize
        minimumPixelSize: 13
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
        anchors { left: parent.left; leftMargin: line.margin; verticalCenter: place.verticalCenter }
        width: 13
        height: 13
        name: "location_pin"
        color: place.color
    }
    Caption {
        id: place
        anchors {
            left: pin.right; leftMargin: 4
            bottom: line.stacked ? date.top : size.top; bottomMargin: 3
            right: line.stacked ? parent.right : date.left; rightMargin: line.stacked ? line.margin : 12
        }
        outlet: line.outlets.label("locationLabel")
        // What can be touched tells it.
        Accessible.ignored: placeToggle.visible
        horizontalAlignment: Text.AlignLeft
    }
    Caption {
        id: size
        anchors {
            left: parent.left; leftMargin: line.margin
            bottom: line.stacked ? name.top : parent.bottom; bottomMargin: line.stacked ? 3 : 11
        }
        width: line.stacked ? line.width - 2 * line.margin : Math.min(implicitWidth, line.width * 0.52)
        horizontalAlignment: Text.AlignLeft
        outlet: line.outlets.label("imageDimensionAndFileSize")
        opacity: 0.88
    }
    Caption {
        id: date
        anchors {
            right: parent.right; rightMargin: line.margin
            bottom: line.stacked ? size.top : name.top; bottomMargin: 3
        }
        width: line.stacked ? line.width - 2 * line.margin : Math.min(implicitWidth, line.width * 0.5)
        outlet: line.outlets.label("dateTakenLabel")
        Accessible.ignored: dateToggle.visible
        horizontalAlignment: line.stacked ? Text.AlignLeft : Text.AlignRight
    }
    Caption {
        id: name
        anchors { right: parent.right; rightMargin: line.margin; bottom: parent.bottom; bottomMargin: 11 }
        width: line.stacked ? line.width - 2 * line.margin
                            : Math.min(implicitWidth, line.width - size.width - 2 * line.margin - 16)
        outlet: line.outlets.label("imageFileNameLabel")
        // The picture below it has the same name.
        Accessible.ignored: true
        horizontalAlignment: line.stacked ? Text.AlignLeft : Text.AlignRight
        elide: Text.ElideMiddle
        opacity: 0.88
    }
    Toggle {
        id: placeToggle
        outlet: line.outlets.button("locationToggleButton")
        anchors { left: parent.left; right: parent.horizontalCenter; bottom: parent.bottom }
        height: 56
    }
    Toggle {
        id: dateToggle
        outlet: line.outlets.button("dateToggleButton")
        anchors { left: parent.horizontalCenter; right: parent.right; bottom: parent.bottom }
        height: 56
    }
}
