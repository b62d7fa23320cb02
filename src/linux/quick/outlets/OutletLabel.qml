import QtQuick
import Tessaly

/// A label: its text in its font and colour. Wraps where a width is given to it.
Text {
    id: label

    required property LabelOutlet outlet

    visible: !outlet.hidden
    opacity: outlet.alpha
    text: outlet.text
    textFormat: Text.PlainText
    font: outlet.font
    color: outlet.color
    horizontalAlignment: outlet.centered ? Text.AlignHCenter : Text.AlignLeft
    Accessible.ignored: outlet.accessibilityHidden
    Accessible.role: Accessible.StaticText
    Accessible.name: outlet.accessibleLabel.length > 0 ? outlet.accessibleLabel : text
}
