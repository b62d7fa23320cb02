import QtQuick
import Tessaly

/// A row: what the value is called on the left, the value on the right, wrapping under itself; or one above the other
/// where letters are very large.
Interface {
    id: row

    readonly property ViewOutlet holder: outlets.view("contentHolderView")
    readonly property ViewOutlet cell: outlets.self()
    readonly property LabelOutlet keyText: outlets.label("exifKeyLabel")
    readonly property bool stacked: outlets.constraint("exifKeyTrailingSpaceToSuperView").active
    readonly property real inner: width - 28

    // It places and aligns its texts itself; they would be turned round twice.
    LayoutMirroring.enabled: false
    LayoutMirroring.childrenInherit: true
    implicitHeight: Math.max(44, stacked ? key.implicitHeight + value.implicitHeight + 28
                                         : Math.max(key.implicitHeight, value.implicitHeight) + 24)
    activeFocusOnTab: true
    Accessible.role: Accessible.ListItem
    Accessible.name: cell.accessibleValue.length > 0 ? cell.accessibleLabel + ", " + cell.accessibleValue : cell.accessibleLabel
    Accessible.focusable: true
    Accessible.onPressAction: (row.parent as CollectionContent)?.press(row)
    Accessible.ignored: !visible

    Rectangle {
        anchors.fill: parent
        color: row.holder.backgroundColor
    }
    // What the texts take in one line; asking the texts themselves would run in a circle with their widths. Some faces
    // are drawn a little wider than they are measured.
    TextMetrics {
        id: keyLine
        font: row.keyText.font
        text: row.keyText.text
    }
    TextMetrics {
        id: valueLine
        font: value.outlet.font
        text: value.outlet.text
    }
    Text {
        id: key
        x: Theme.mirrored ? row.width - width - 14 : 14
        y: row.stacked ? 12 : (row.height - height) / 2
        // Up to half the row, or what the value leaves of it.
        width: row.stacked ? row.inner
                           : Math.min(Math.ceil(keyLine.advanceWidth * 1.05) + 4,
                                    Math.max(row.inner / 2, row.inner - 18 - valueLine.advanceWidth * 1.02))
        wrapMode: Text.Wrap
        text: row.keyText.text
        textFormat: Text.PlainText
        font: row.keyText.font
        color: row.keyText.color
        horizontalAlignment: Theme.mirrored ? Text.AlignRight : Text.AlignLeft
        Accessible.ignored: true
    }
    Text {
        id: value
        readonly property LabelOutlet outlet: row.outlets.label("exifValueLabel")
        x: (row.stacked ? !Theme.mirrored : Theme.mirrored) ? 14 : row.width - width - 14
        y: row.stacked ? key.y + key.height + 4 : (row.height - height) / 2
        width: row.stacked ? row.inner : row.inner - 14 - key.width
        wrapMode: Text.Wrap
        text: outlet.text
        textFormat: Text.PlainText
        font: outlet.font
        color: outlet.color
        horizontalAlignment: row.stacked !== Theme.mirrored ? Text.AlignLeft : Text.AlignRight
        Accessible.ignored: true
    }
    Rectangle {
        // There is such a value, and it is empty.
        anchors.verticalCenter: key.verticalCenter
        x: Theme.mirrored ? 14 : row.width - width - 14
        visible: value.outlet.text.length === 0
        width: 10
        height: 1
        color: Theme.secondaryText
    }
    FocusRing { shown: row.activeFocus }
}
