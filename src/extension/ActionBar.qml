pragma ComponentBehavior: Bound
import QtQuick
import Tessaly

/// What can be done with a photo of the library, and how: the four actions, and a drawer with two switches below them.
Rectangle {
    id: bar

    required property Outlets outlets
    readonly property ViewOutlet holder: outlets.view("bottomButtonHolderView")

    visible: !holder.hidden
    color: Theme.raised

    // The shadow above it: drawn, for the plain renderer has no effects.
    Rectangle {
        anchors { left: parent.left; right: parent.right; bottom: parent.top }
        height: bar.holder.shadowRadius * 2
        opacity: bar.holder.shadowOpacity * 0.4
        gradient: Gradient {
            GradientStop { position: 0; color: "transparent" }
            GradientStop { position: 1; color: "black" }
        }
    }
    Rectangle {
        anchors { left: parent.left; right: parent.right; top: parent.top }
        height: 1
        color: Theme.hairline
    }
    // Touches between the buttons do not reach the rows below.
    MouseArea { anchors.fill: parent; hoverEnabled: true }

    component Action: Touchable {
        id: action
        required property ButtonOutlet button
        required property LabelOutlet caption
        required property ImageOutlet picture
        width: (bar.width - 44) / 4
        height: 75
        enabled: button.enabled
        visible: !button.hidden
        opacity: pressed ? 0.45 : enabled ? 1 : 0.4
        name: button.accessibleLabel
        onTouched: button.touched()

        Column {
            anchors { left: parent.left; right: parent.right; top: parent.top; margins: 4; topMargin: 12 }
            spacing: 4
            Icon {
                anchors.horizontalCenter: parent.horizontalCenter
                width: 24
                height: 24
                name: action.picture.imageName
                color: Theme.accent
            }
            Text {
                width: parent.width
                horizontalAlignment: Text.AlignHCenter
                wrapMode: Text.Wrap
                maximumLineCount: 2
                elide: Text.ElideRight
                text: action.caption.text
                textFormat: Text.PlainText
                font { family: Theme.family; pixelSize: 12; weight: Font.Medium }
                color: Theme.text
                Accessible.ignored: true
            }
        }
    }

    Row {
        id: actions
        anchors { left: parent.left; top: parent.top }
        Action {
            button: bar.outlets.button("removeEXIFButton")
            caption: bar.outlets.label("removeEXIFButtonLabel")
            picture: bar.outlets.image("deleteExifImageView")
        }
        Action {
            button: bar.outlets.button("removeLocationButton")
            caption: bar.outlets.label("removeLocationButtonLabel")
            picture: bar.outlets.image("deleteLocationImageView")
        }
        Action {
            button: bar.outlets.button("editEXIFButton")
            caption: bar.outlets.label("editEXIFButtonLabel")
            picture: bar.outlets.image("editEXIFImageView")
        }
        Action {
            button: bar.outlets.button("deletePhotoButton")
            caption: bar.outlets.label("deletePhotoButtonLabel")
            picture: bar.outlets.image("deletePhotoImageView")
        }
    }
    Touchable {
        id: expand
        readonly property ButtonOutlet button: bar.outlets.button("expandButton")
        anchors { right: parent.right; top: parent.top }
        width: 44
        height: 75
        name: button.accessibleLabel
        onTouched: button.touched()
        OutletImage {
            anchors.centerIn: parent
            width: 22
            height: 22
            outlet: bar.outlets.image("expandButtonImageView")
            iconColor: Theme.secondaryText
        }
    }

    component Setting: Item {
        id: setting
        required property LabelOutlet caption
        required property SwitchOutlet toggle
        width: bar.width
        height: 44
        Text {
            anchors {
                left: parent.left; leftMargin: 14; right: control.left; rightMargin: 10
                verticalCenter: parent.verticalCenter
            }
            text: setting.caption.text
            textFormat: Text.PlainText
            wrapMode: Text.Wrap
            maximumLineCount: 2
            elide: Text.ElideRight
            font { family: Theme.family; pixelSize: 14; weight: Font.Medium }
            color: Theme.text
            Accessible.ignored: true
        }
        OutletSwitch {
            id: control
            anchors { right: parent.right; rightMargin: 14; verticalCenter: parent.verticalCenter }
            outlet: setting.toggle
        }
    }
    Column {
        anchors { top: actions.bottom; left: parent.left; right: parent.right }
        Setting {
            caption: bar.outlets.label("overwriteSwitchLabel")
            toggle: bar.outlets.toggle("overwriteSwitch")
        }
        Text {
            readonly property LabelOutlet hint: bar.outlets.label("overWriteHintLabel")
            x: 14
            width: bar.width - 28
            height: 29
            text: hint.text
            textFormat: Text.PlainText
            wrapMode: Text.Wrap
            maximumLineCount: 3
            fontSizeMode: Text.Fit
            minimumPixelSize: 8
            font { family: Theme.family; pixelSize: 12 }
            color: Theme.secondaryText
        }
        Setting {
            caption: bar.outlets.label("deleteOriginalPhotoAfterRemovingExifSwitchLabel")
            toggle: bar.outlets.toggle("deleteOriginalPhotoAfterRemovingExifSwitch")
        }
    }
}
