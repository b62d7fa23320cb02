pragma ComponentBehavior: Bound
import QtQuick
import QtQuick.Layouts
import Tessaly

/// Below the photo: the five values of the camera and its name; of a movie its length
/// and its pace; or why there is nothing.
Interface {
    id: brief

    readonly property ViewOutlet shortMessage: outlets.view("noExifDataShortMessageHolderView")
    readonly property LabelOutlet longMessage: outlets.label("noExifDataAvailableLabel")
    readonly property bool isMovie: outlets.constraint("movieArrangementConstraint").active
    readonly property bool isEmpty: !longMessage.hidden
    /// Letters grow with the person's text size as far as the two lines have room.
    readonly property real scaled: Math.min(Math.max(Theme.textScale, 0.8), 1.5)
    readonly property real margin: 14

    Rectangle {
        anchors.fill: parent
        color: Theme.surface
    }

    component Value: OutletLabel {
        id: value
        property real fit: 1
        font { family: Theme.family; pixelSize: Math.max(9, Math.floor(15 * brief.scaled * value.fit)); weight: value.outlet.font.weight }
        color: Theme.text
    }

    RowLayout {
        id: values
        // All in one line: on a narrow screen in smaller letters.
        readonly property real fit: Math.min(1, width / Math.max(1, needed.width + 4 * 10 + 24))
        anchors { left: parent.left; right: parent.right; top: parent.top; leftMargin: brief.margin; rightMargin: brief.margin; topMargin: brief.scaled > 1.2 ? 5 : 11 }
        height: 20 * Math.max(1, brief.scaled)
        spacing: 0
        visible: !brief.isEmpty && !brief.isMovie

        TextMetrics {
            id: needed
            font { family: Theme.family; pixelSize: 15 * brief.scaled; weight: brief.outlets.label("fStopLabel").font.weight }
            text: brief.outlets.label("fStopLabel").text + brief.outlets.label("exposureTimeInSecondsLabel").text
                  + brief.outlets.label("isoValueLabel").text + brief.outlets.label("focalLengthLabel").text
        }
        Value { outlet: brief.outlets.label("fStopLabel"); fit: values.fit }
        Item { Layout.fillWidth: true }
        Value { outlet: brief.outlets.label("exposureTimeInSecondsLabel"); fit: values.fit }
        Item { Layout.fillWidth: true }
        Value { outlet: brief.outlets.label("isoValueLabel"); fit: values.fit }
        Item { Layout.fillWidth: true }
        Value { outlet: brief.outlets.label("focalLengthLabel"); fit: values.fit }
        Item { Layout.fillWidth: true }
        OutletImage {
            Layout.preferredWidth: 20
            Layout.preferredHeight: 20
            outlet: brief.outlets.image("flashStatusIndicatorImageView")
            iconColor: Theme.text
        }
    }
    Text {
        // The flash in words takes the camera's line, for it is long.
        id: flash
        readonly property LabelOutlet outlet: brief.outlets.label("flashModeLabel")
        anchors { left: parent.left; right: parent.right; top: values.bottom; leftMargin: brief.margin; rightMargin: brief.margin; topMargin: brief.scaled > 1.2 ? 1 : 3 }
        visible: !brief.isMovie && !brief.isEmpty && !outlet.hidden
        horizontalAlignment: Text.AlignRight
        elide: Text.ElideRight
        text: outlet.text
        textFormat: Text.PlainText
        fontSizeMode: Text.HorizontalFit
        minimumPixelSize: 9
        font { family: Theme.family; pixelSize: 13 * brief.scaled; weight: flash.outlet.font.weight }
        color: Theme.secondaryText
        Accessible.ignored: true
    }
    OutletLabel {
        anchors { left: parent.left; right: parent.right; top: values.bottom; leftMargin: brief.margin; rightMargin: brief.margin; topMargin: brief.scaled > 1.2 ? 1 : 3 }
        visible: !brief.isMovie && !brief.isEmpty && !flash.visible
        outlet: brief.outlets.label("cameraModelLabel")
        elide: Text.ElideRight
        fontSizeMode: Text.HorizontalFit
        minimumPixelSize: 9
        font { family: Theme.family; pixelSize: 13 * brief.scaled; weight: outlet.font.weight }
        color: Theme.secondaryText
    }
    Touchable {
        readonly property ButtonOutlet outlet: brief.outlets.button("flashStatusTextImageToggleButton")
        anchors { right: parent.right; top: parent.top }
        width: 56
        height: 44
        visible: values.visible
        name: outlet.accessibleLabel
        onTouched: outlet.touched()
    }

    component Fact: Column {
        id: fact
        required property LabelOutlet key
        required property LabelOutlet value
        spacing: 3
        Text {
            width: parent.width
            elide: Text.ElideRight
            fontSizeMode: Text.HorizontalFit
            minimumPixelSize: 9
            text: fact.key.text
            textFormat: Text.PlainText
            font { family: Theme.family; pixelSize: 13 * brief.scaled; weight: fact.key.font.weight }
            color: Theme.secondaryText
        }
        Text {
            width: parent.width
            elide: Text.ElideRight
            fontSizeMode: Text.HorizontalFit
            minimumPixelSize: 9
            text: fact.value.text
            textFormat: Text.PlainText
            font { family: Theme.family; pixelSize: 15 * brief.scaled; weight: fact.value.font.weight }
            color: Theme.text
        }
    }
    Row {
        anchors { left: parent.left; right: parent.right; verticalCenter: parent.verticalCenter; leftMargin: brief.margin; rightMargin: brief.margin }
        spacing: 12
        visible: brief.isMovie && !brief.isEmpty
        Fact {
            width: (parent.width - 24) * 0.24
            key: brief.outlets.label("fStopLabel")
            value: brief.outlets.label("focalLengthLabel")
        }
        Fact {
            width: (parent.width - 24) * 0.44
            key: brief.outlets.label("exposureTimeInSecondsLabel")
            value: brief.outlets.label("flashModeLabel")
        }
        Fact {
            width: (parent.width - 24) * 0.32
            key: brief.outlets.label("isoValueLabel")
            value: brief.outlets.label("cameraModelLabel")
        }
    }

    Text {
        anchors { fill: parent; leftMargin: 14; rightMargin: 14; topMargin: 4; bottomMargin: 4 }
        visible: brief.isEmpty && brief.shortMessage.hidden
        text: brief.longMessage.text
        textFormat: Text.PlainText
        wrapMode: Text.Wrap
        verticalAlignment: Text.AlignVCenter
        horizontalAlignment: Text.AlignHCenter
        fontSizeMode: Text.Fit
        minimumPixelSize: 8
        font { family: Theme.family; pixelSize: 13 * Theme.textScale; weight: brief.longMessage.font.weight }
        color: Theme.secondaryText
    }
    Row {
        anchors.centerIn: parent
        spacing: 2
        visible: brief.isEmpty && !brief.shortMessage.hidden
        OutletLabel {
            anchors.verticalCenter: parent.verticalCenter
            width: Math.min(implicitWidth, brief.width - 76)
            wrapMode: Text.Wrap
            outlet: brief.outlets.label("noExifDataAvailableShortMessageLabel")
            font { family: Theme.family; pixelSize: 14 * brief.scaled; weight: outlet.font.weight }
            color: Theme.text
        }
        OutletButton {
            outlet: brief.outlets.button("noExifInfoButton")
            iconSize: 20
        }
    }
}
