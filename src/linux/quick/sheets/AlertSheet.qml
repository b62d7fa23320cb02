pragma ComponentBehavior: Bound
import QtQuick
import Tessaly

/// A few answers to choose from: a sheet at the bottom of a phone with the way out apart, a popover at its button on a
/// tablet, an alert in the middle of either.
SheetScope {
    id: sheet

    required property AlertOutlet alert
    property rect anchor
    readonly property bool popover: Theme.wide && !alert.isAlert
    readonly property int cancelIndex: alert.cancelIndex
    readonly property real margin: 8

    anchors.fill: parent

    function open(animated: bool): void { opened = true; }
    function close(animated: bool): void {
        opened = false;
        enabled = false;
        destroy(Theme.duration + 20);
    }

    Keys.onEscapePressed: alert.cancelled()
    Keys.onDownPressed: step(true)
    Keys.onUpPressed: step(false)
    Keys.onTabPressed: step(true)
    Keys.onBacktabPressed: step(false)
    Accessible.role: Accessible.Dialog
    Accessible.name: alert.title.length > 0 ? alert.title : Theme.localized("Share")
    Accessible.description: alert.message

    Rectangle {
        anchors.fill: parent
        color: Theme.scrim
        opacity: sheet.opened ? (sheet.popover ? 0.4 : 1) : 0
        Behavior on opacity { NumberAnimation { duration: Theme.duration; easing.type: Easing.OutCubic } }
    }
    MouseArea { anchors.fill: parent; hoverEnabled: true; onClicked: sheet.alert.cancelled() }

    component Answer: Touchable {
        id: answer
        required property int index
        readonly property int style: sheet.alert.styles[index]
        width: parent ? parent.width : 0
        height: Math.max(52, label.implicitHeight + 24)
        name: sheet.alert.titles[index]
        onTouched: sheet.alert.chose(index)

        Rectangle {
            anchors.fill: parent
            color: Theme.hairline
            visible: answer.pressed
        }
        Text {
            id: label
            anchors { left: parent.left; right: parent.right; margins: 16; verticalCenter: parent.verticalCenter }
            horizontalAlignment: Text.AlignHCenter
            wrapMode: Text.Wrap
            maximumLineCount: 6
            elide: Text.ElideRight
            text: answer.name
            textFormat: Text.PlainText
            font {
                family: Theme.family
                pixelSize: 17
                weight: answer.style === 1 ? Font.DemiBold : Font.Medium
            }
            color: answer.style === 2 ? Theme.destructive : Theme.accent
            Accessible.ignored: true
        }
    }

    Item {
        id: panel
        readonly property real space: sheet.height - sheet.margin * 2
        width: sheet.popover || sheet.alert.isAlert ? Math.min(320, sheet.width - 32)
                                                    : Math.min(480, sheet.width - 2 * sheet.margin)
        height: Math.min(space, body.height + (apart.visible ? apart.height + sheet.margin : 0))
        x: sheet.popover && sheet.anchor.width > 0
           ? Math.max(sheet.margin, Math.min(sheet.width - width - sheet.margin,
                                             sheet.anchor.x + sheet.anchor.width / 2 - width / 2))
           : (sheet.width - width) / 2
        y: place()
        opacity: sheet.opened ? 1 : 0
        Behavior on opacity { NumberAnimation { duration: Theme.duration; easing.type: Easing.OutCubic } }
        Behavior on y { NumberAnimation { duration: Theme.duration; easing.type: Easing.OutCubic } }

        function place(): real {
            if (sheet.popover) {
                if (sheet.anchor.width <= 0)
                    return (sheet.height - height) / 2;
                const below = sheet.anchor.y + sheet.anchor.height + sheet.margin;
                return below + height < sheet.height ? below : Math.max(sheet.margin, sheet.anchor.y - height - 8);
            }
            if (sheet.alert.isAlert)
                return (sheet.height - height) / 2 + (sheet.opened ? 0 : 20);
            return sheet.opened ? sheet.height - height - sheet.margin : sheet.height;
        }

        Rectangle {
            id: body
            width: parent.width
            height: Math.min(list.height, panel.space - (apart.visible ? apart.height + sheet.margin : 0))
            radius: 14
            color: Theme.raised
            border { width: Theme.dark || sheet.popover ? 1 : 0; color: Theme.hairline }
            clip: true
            MouseArea { anchors.fill: parent; hoverEnabled: true }

            Flickable {
                id: scroller
                anchors.fill: parent
                contentHeight: list.height
                boundsBehavior: Flickable.StopAtBounds
                interactive: contentHeight > height
                clip: true

                function reveal(item: Item): void {
                    const top = item.mapToItem(list, 0, 0).y;
                    contentY = Math.max(0, Math.min(Math.max(contentY, top + item.height - height), top));
                }

                Column {
                    id: list
                    width: parent.width

                    Item {
                        width: parent.width
                        height: heading.height + 32
                        visible: sheet.alert.title.length + sheet.alert.message.length > 0
                        Column {
                            id: heading
                            anchors { left: parent.left; right: parent.right; margins: 18; verticalCenter: parent.verticalCenter }
                            spacing: 6
                            Text {
                                width: parent.width
                                visible: text.length > 0
                                text: sheet.alert.title
                                textFormat: Text.PlainText
                                wrapMode: Text.Wrap
                                horizontalAlignment: Text.AlignHCenter
                                font { family: Theme.family; pixelSize: 16; weight: Font.DemiBold }
                                color: Theme.text
                            }
                            Text {
                                width: parent.width
                                visible: text.length > 0
                                text: sheet.alert.message
                                textFormat: Text.PlainText
                                wrapMode: Text.Wrap
                                horizontalAlignment: Text.AlignHCenter
                                font { family: Theme.family; pixelSize: 14; weight: Font.Medium }
                                color: Theme.secondaryText
                            }
                        }
                    }
                    Repeater {
                        model: sheet.alert.titles.length
                        Column {
                            id: entry
                            required property int index
                            width: list.width
                            visible: !(apart.visible && index === sheet.cancelIndex)
                            Rectangle {
                                width: parent.width
                                height: 1
                                color: Theme.hairline
                                visible: entry.index > 0 || sheet.alert.title.length + sheet.alert.message.length > 0
                            }
                            Answer {
                                index: entry.index
                                focus: entry.index === 0
                                onActiveFocusChanged: if (activeFocus) scroller.reveal(this)
                            }
                        }
                    }
                }
            }
        }
        Rectangle {
            id: apart
            visible: !sheet.popover && !sheet.alert.isAlert && sheet.cancelIndex >= 0
            anchors { bottom: parent.bottom; left: parent.left; right: parent.right }
            height: 52
            radius: 14
            color: Theme.raised
            border { width: Theme.dark ? 1 : 0; color: Theme.hairline }
            Answer { index: Math.max(0, sheet.cancelIndex) }
        }
    }
}
