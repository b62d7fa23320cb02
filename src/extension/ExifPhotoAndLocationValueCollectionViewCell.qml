import QtQuick
import Tessaly

/// The top of a page: the photo, what stands over its lower edge, and the summary below it.
Interface {
    id: header

    readonly property ImageOutlet photo: outlets.image("photoImageView")
    readonly property ImageOutlet state: outlets.image("stateImageView")

    Rectangle {
        anchors.fill: parent
        color: Theme.surface
    }
    Item {
        id: frame
        anchors { left: parent.left; right: parent.right; top: parent.top; bottom: summary.top }
        clip: true

        Rectangle {
            anchors.fill: parent
            color: Theme.row
        }
        OutletImage {
            id: picture
            anchors.fill: parent
            outlet: header.photo
            TapHandler {
                onTapped: eventPoint => header.photo.tapped(eventPoint.position)
            }
        }
        Spinner {
            anchors.centerIn: parent
            delay: 0
            running: header.outlets.indicator("loadingIndicator").animating
        }
        Column {
            id: fault
            // Above the details, of whose veil a large button leaves less.
            readonly property real rise: play.outlet.hidden ? 16 : 28
            anchors { centerIn: parent; verticalCenterOffset: -rise }
            width: parent.width - 60
            spacing: 8
            visible: !header.state.hidden
            OutletImage {
                anchors.horizontalCenter: parent.horizontalCenter
                width: 44
                height: 44
                visible: play.outlet.hidden
                outlet: header.state
                iconColor: Theme.secondaryText
            }
            Item {
                // A movie's button stands in the icon's place: what has no picture may still play.
                width: 1
                height: playButton.height
                visible: !play.outlet.hidden
            }
            OutletLabel {
                width: parent.width
                outlet: header.outlets.label("stateLabel")
                horizontalAlignment: Text.AlignHCenter
                wrapMode: Text.Wrap
                font { family: Theme.family; pixelSize: 13; weight: Font.Medium }
                color: Theme.secondaryText
            }
        }
        Rectangle {
            // What is shown is a preview: said over it, and quietly.
            anchors { top: parent.top; horizontalCenter: parent.horizontalCenter; topMargin: 8 }
            width: Math.min(note.implicitWidth, parent.width - 40) + 20
            height: note.height + 10
            radius: 8
            color: "#80000000"
            visible: header.state.hidden && !note.outlet.hidden
            OutletLabel {
                id: note
                anchors.centerIn: parent
                width: Math.min(implicitWidth, header.width - 40)
                outlet: header.outlets.label("stateLabel")
                horizontalAlignment: Text.AlignHCenter
                wrapMode: Text.Wrap
                font { family: Theme.family; pixelSize: 12 }
                color: "white"
            }
        }
        Item {
            id: playButton
            // Touches are the picture's, all of it.
            function press(): void { header.photo.tapped(Qt.point(0, 0)); }
            anchors { centerIn: parent; verticalCenterOffset: fault.visible ? (height - fault.height) / 2 - fault.rise : 0 }
            width: 64
            height: 64
            visible: !play.outlet.hidden
            activeFocusOnTab: true
            Accessible.role: Accessible.Button
            Accessible.name: play.outlet.accessibleLabel
            Accessible.focusable: true
            Accessible.ignored: !visible
            Accessible.onPressAction: press()
            Keys.onSpacePressed: press()
            Keys.onReturnPressed: press()
            Keys.onEnterPressed: press()
            Rectangle {
                // A dark ground for the symbol, whatever the picture is.
                anchors.fill: parent
                radius: 32
                color: "#80000000"
            }
            OutletImage {
                id: play
                anchors.centerIn: parent
                width: 44
                height: 44
                outlet: header.outlets.image("playImageView")
                iconColor: "white"
            }
            FocusRing { shown: playButton.activeFocus; radius: 32 }
        }
        PhotoSizeLocationDateTimeDetailsView {
            anchors { left: parent.left; right: parent.right; bottom: parent.bottom }
            outlets: header.outlets.owner("photoSizeLocationDateTimeStampView")
        }
    }
    ExifBriefDetailsView {
        id: summary
        anchors { left: parent.left; right: parent.right; bottom: parent.bottom }
        height: 65
        outlets: header.outlets.owner("exifBriefDetailsView")
    }
    Rectangle {
        anchors { left: parent.left; right: parent.right; bottom: parent.bottom }
        height: 1
        color: Theme.hairline
    }
}
