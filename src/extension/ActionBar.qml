pragma ComponentBehavior: Bound
import QtQuick
import Tessaly

/// What can be done with a photo of the library, and how: the four actions, and a drawer with two switches below them.
Rectangle {
    id: bar

    required property Outlets outlets
    readonly property ViewOutlet holder: outlets.view("bottomButtonHolderView")

    /// The bar is drawn so many times its plain size, for large letters.
    readonly property real scaled: Math.min(Math.max(Theme.textScale, 1), 1.6)
    readonly property int offered: (remove.button.hidden ? 0 : 1) + (place.button.hidden ? 0 : 1)
                                   + (edit.button.hidden ? 0 : 1) + (erase.button.hidden ? 0 : 1)
    /// How much of it stands above the window's edge: what does not is out of the keyboard's reach.
    readonly property real inSight: parent ? parent.height - y : 0

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
        width: (bar.width - 44) / Math.max(1, bar.offered)
        height: 75 * bar.scaled
        enabled: button.enabled
        visible: !button.hidden
        opacity: pressed ? 0.45 : button.enabled ? 1 : 0.4
        name: button.accessibleLabel
        onTouched: button.touched()

        // Letters as large as the longest word allows: no word is cut, nor broken.
        TextMetrics {
            id: word
            font { family: Theme.family; pixelSize: 12 * bar.scaled; weight: Font.Medium }
            text: action.caption.text.split(" ").reduce((longest, next) => next.length > longest.length ? next : longest, "")
        }
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
                height: action.height - 44
                wrapMode: Text.Wrap
                maximumLineCount: 2
                elide: Text.ElideRight
                text: action.caption.text
                textFormat: Text.PlainText
                font {
                    family: Theme.family
                    pixelSize: Math.max(8, Math.floor(12 * bar.scaled * Math.min(1, (action.width - 10) / Math.max(1, word.advanceWidth))))
                    weight: Font.Medium
                }
                color: Theme.text
                Accessible.ignored: true
            }
        }
    }

    Row {
        id: actions
        enabled: bar.inSight > height / 2
        anchors { left: parent.left; top: parent.top }
        Action {
            id: remove
            button: bar.outlets.button("removeEXIFButton")
            caption: bar.outlets.label("removeEXIFButtonLabel")
            picture: bar.outlets.image("deleteExifImageView")
        }
        Action {
            id: place
            button: bar.outlets.button("removeLocationButton")
            caption: bar.outlets.label("removeLocationButtonLabel")
            picture: bar.outlets.image("deleteLocationImageView")
        }
        Action {
            id: edit
            button: bar.outlets.button("editEXIFButton")
            caption: bar.outlets.label("editEXIFButtonLabel")
            picture: bar.outlets.image("editEXIFImageView")
        }
        Action {
            id: erase
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
        height: 75 * bar.scaled
        enabled: actions.enabled
        name: button.accessibleLabel
        Accessible.description: button.accessibleHint
        Accessible.checkable: true
        Accessible.checked: button.selected
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
        height: 44 * bar.scaled
        Text {
            anchors {
                left: parent.left; leftMargin: 14; right: control.left; rightMargin: 10
                verticalCenter: parent.verticalCenter
            }
            text: setting.caption.text
            textFormat: Text.PlainText
            height: setting.height
            verticalAlignment: Text.AlignVCenter
            wrapMode: Text.Wrap
            elide: Text.ElideRight
            fontSizeMode: Text.Fit
            minimumPixelSize: 9
            font { family: Theme.family; pixelSize: 14 * bar.scaled; weight: Font.Medium }
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
        enabled: bar.inSight > actions.height + 44
        anchors { top: actions.bottom; left: parent.left; right: parent.right }
        Setting {
            caption: bar.outlets.label("overwriteSwitchLabel")
            toggle: bar.outlets.toggle("overwriteSwitch")
        }
        Text {
            readonly property LabelOutlet hint: bar.outlets.label("overWriteHintLabel")
            x: 14
            width: bar.width - 28
            height: 29 * bar.scaled
            text: hint.text
            textFormat: Text.PlainText
            wrapMode: Text.Wrap
            fontSizeMode: Text.Fit
            minimumPixelSize: 8
            font { family: Theme.family; pixelSize: 12 * bar.scaled }
            color: Theme.secondaryText
        }
        Setting {
            caption: bar.outlets.label("deleteOriginalPhotoAfterRemovingExifSwitchLabel")
            toggle: bar.outlets.toggle("deleteOriginalPhotoAfterRemovingExifSwitch")
        }
    }
}
