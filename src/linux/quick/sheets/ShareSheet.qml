pragma ComponentBehavior: Bound
import QtQuick
import Tessaly

/// What is shared, and where it can go: a sheet at the bottom of a phone with the way out apart, a popover at its
/// button on a tablet. What came of saving is told in it before it goes.
SheetScope {
    id: sheet

    required property ShareOutlet share
    property rect anchor
    readonly property bool popover: Theme.wide
    readonly property bool told: share.outcome.length > 0
    readonly property bool isList: !told && share.targets.length > 0
    readonly property real margin: 8

    anchors.fill: parent

    function open(animated: bool): void { opened = true; }
    function close(animated: bool): void {
        opened = false;
        enabled = false;
        destroy(Theme.duration + 20);
    }
    onToldChanged: if (told) (popover ? within : out).forceActiveFocus()

    Keys.onEscapePressed: share.closed()
    Keys.onDownPressed: step(true)
    Keys.onUpPressed: step(false)
    Accessible.role: Accessible.Dialog
    Accessible.name: Theme.localized("Share")
    Accessible.description: share.title

    Rectangle {
        anchors.fill: parent
        color: Theme.scrim
        opacity: sheet.opened ? (sheet.popover ? 0.4 : 1) : 0
        Behavior on opacity { NumberAnimation { duration: Theme.duration; easing.type: Easing.OutCubic } }
    }
    MouseArea { anchors.fill: parent; hoverEnabled: true; onClicked: sheet.share.closed() }

    component Hairline: Rectangle {
        width: parent ? parent.width : 0
        height: 1
        color: Theme.hairline
    }

    /// What is shared: its picture, its name, how much it is.
    component Heading: Item {
        height: Math.max(52, words.height) + 24
        Accessible.role: Accessible.StaticText
        Accessible.name: sheet.share.title + ", " + sheet.share.detail

        Rectangle {
            id: frame
            anchors { left: parent.left; leftMargin: 16; verticalCenter: parent.verticalCenter }
            width: 52
            height: 52
            color: Theme.row
            clip: true
            Icon {
                anchors.centerIn: parent
                width: 24
                height: 24
                name: sheet.share.preview.hasPicture ? "photo" : "share"
                color: Theme.secondaryText
                visible: !picture.ready
            }
            OutletImage {
                id: picture
                anchors.fill: parent
                outlet: sheet.share.preview
            }
        }
        Column {
            id: words
            anchors {
                left: frame.right; leftMargin: 12
                right: parent.right; rightMargin: 16
                verticalCenter: parent.verticalCenter
            }
            spacing: 3
            Text {
                width: parent.width
                text: sheet.share.title
                textFormat: Text.PlainText
                elide: Text.ElideMiddle
                maximumLineCount: 1
                font { family: Theme.family; pixelSize: Math.round(15 * Theme.textScale); weight: Font.DemiBold }
                color: Theme.text
                horizontalAlignment: Text.AlignLeft
                Accessible.ignored: true
            }
            Text {
                width: parent.width
                visible: text.length > 0
                text: sheet.share.detail
                textFormat: Text.PlainText
                elide: Text.ElideRight
                wrapMode: Text.Wrap
                maximumLineCount: 2
                font { family: Theme.family; pixelSize: Math.round(12.5 * Theme.textScale); weight: Font.Medium }
                color: Theme.secondaryText
                horizontalAlignment: Text.AlignLeft
                Accessible.ignored: true
            }
        }
        Spinner {
            anchors { right: parent.right; rightMargin: 16; verticalCenter: parent.verticalCenter }
            width: 24
            height: 24
            running: sheet.share.isBusy
        }
    }

    /// Somewhere it can go.
    component Target: Touchable {
        id: target
        required property int index
        readonly property var facts: sheet.share.targets[index] ?? ({ title: "", icon: "", picture: "", opens: false })
        width: parent ? parent.width : 0
        height: Math.max(52, label.implicitHeight + 22)
        name: target.facts.title
        enabled: !sheet.share.isBusy
        opacity: enabled ? 1 : 0.45
        onTouched: sheet.share.chose(index)

        Rectangle {
            anchors.fill: parent
            color: Theme.hairline
            visible: target.pressed
        }
        Icon {
            anchors.centerIn: place
            width: 24
            height: 24
            visible: !target.facts.opens
            name: target.facts.icon
            color: Theme.accent
        }
        Rectangle {
            id: place
            anchors { left: parent.left; leftMargin: 16; verticalCenter: parent.verticalCenter }
            width: 32
            height: 32
            radius: 8
            color: target.facts.opens && emblem.status !== Image.Ready ? Theme.row : "transparent"
            Text {
                anchors.centerIn: parent
                visible: target.facts.opens && emblem.status !== Image.Ready
                text: target.facts.title.charAt(0).toUpperCase()
                font { family: Theme.family; pixelSize: 16; weight: Font.DemiBold }
                color: Theme.accent
                Accessible.ignored: true
            }
            Image {
                id: emblem
                anchors.fill: parent
                source: target.facts.picture
                sourceSize { width: 64; height: 64 }
                fillMode: Image.PreserveAspectFit
                asynchronous: true
                smooth: true
            }
        }
        Text {
            id: label
            anchors {
                left: place.right; leftMargin: 14
                right: parent.right; rightMargin: 16
                verticalCenter: parent.verticalCenter
            }
            text: target.name
            textFormat: Text.PlainText
            wrapMode: Text.Wrap
            maximumLineCount: 2
            elide: Text.ElideRight
            font { family: Theme.family; pixelSize: Math.round(16 * Theme.textScale); weight: Font.Medium }
            color: target.facts.opens ? Theme.text : Theme.accent
            horizontalAlignment: Text.AlignLeft
            Accessible.ignored: true
        }
    }

    /// What came of it.
    component Outcome: Item {
        height: message.height + 84
        Icon {
            id: sign
            anchors { top: parent.top; topMargin: 20; horizontalCenter: parent.horizontalCenter }
            width: 30
            height: 30
            name: sheet.share.hasFailed ? "broken" : "checkmark"
            color: sheet.share.hasFailed ? Theme.destructive : Theme.accent
        }
        Text {
            id: message
            anchors { top: sign.bottom; topMargin: 12; left: parent.left; right: parent.right; margins: 20 }
            text: sheet.share.outcome
            textFormat: Text.PlainText
            wrapMode: Text.Wrap
            maximumLineCount: 6
            elide: Text.ElideMiddle
            horizontalAlignment: Text.AlignHCenter
            font { family: Theme.family; pixelSize: Math.round(15 * Theme.textScale); weight: Font.Medium }
            color: Theme.text
            Accessible.role: Accessible.AlertMessage
            Accessible.name: text
        }
    }

    /// Done after something was told, else Cancel. Apart from the rest on a phone.
    component Out: Touchable {
        width: parent ? parent.width : 0
        height: 52
        name: Theme.localized(sheet.told ? "Done" : "Cancel")
        onTouched: sheet.share.closed()
        Accessible.description: sheet.share.outcome
        Rectangle {
            anchors.fill: parent
            radius: 14
            color: Theme.hairline
            visible: parent.pressed
        }
        Text {
            anchors.centerIn: parent
            text: parent.name
            font { family: Theme.family; pixelSize: 17; weight: Font.DemiBold }
            color: Theme.accent
            Accessible.ignored: true
        }
    }

    Item {
        id: panel
        readonly property real space: sheet.height - sheet.margin * 2
        readonly property real outSpace: sheet.popover ? 0 : apart.height + sheet.margin
        width: sheet.popover ? Math.min(340, sheet.width - 32) : Math.min(480, sheet.width - 2 * sheet.margin)
        height: body.height + outSpace
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
                return below + height < sheet.height ? below
                                                     : Math.max(sheet.margin, sheet.anchor.y - height - sheet.margin);
            }
            return sheet.opened ? sheet.height - height - sheet.margin : sheet.height;
        }

        Rectangle {
            id: body
            width: parent.width
            height: Math.min(list.height, panel.space - panel.outSpace)
            radius: 14
            color: Theme.raised
            border { width: Theme.dark || sheet.popover ? 1 : 0; color: Theme.hairline }
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

                    Heading { width: parent.width }
                    Hairline {}
                    Outcome { width: parent.width; visible: sheet.told }
                    Repeater {
                        model: sheet.isList ? sheet.share.targets.length : 0
                        Column {
                            id: entry
                            required property int index
                            readonly property bool startsPrograms: target.facts.opens
                                && (index === 0 || !sheet.share.targets[index - 1]?.opens)
                            width: list.width
                            Hairline { visible: entry.index > 0 }
                            Text {
                                x: 16
                                width: parent.width - 32
                                visible: entry.startsPrograms
                                topPadding: 14
                                bottomPadding: 4
                                text: Theme.localized("Open With")
                                elide: Text.ElideRight
                                font {
                                    family: Theme.family
                                    pixelSize: Math.round(12.5 * Theme.textScale)
                                    weight: Font.Medium
                                }
                                color: Theme.secondaryText
                                horizontalAlignment: Text.AlignLeft
                                Accessible.role: Accessible.Heading
                                Accessible.name: text
                            }
                            Target {
                                id: target
                                index: entry.index
                                onActiveFocusChanged: if (activeFocus) scroller.reveal(this)
                            }
                        }
                    }
                    Hairline { visible: sheet.popover && sheet.told }
                    Out { id: within; visible: sheet.popover && sheet.told }
                }
            }
        }
        Rectangle {
            id: apart
            visible: !sheet.popover
            anchors { bottom: parent.bottom; left: parent.left; right: parent.right }
            height: 52
            radius: 14
            color: Theme.raised
            border { width: Theme.dark ? 1 : 0; color: Theme.hairline }
            Out { id: out }
        }
    }
}
