import QtQuick
import Tessaly

/// A switch.
Item {
    id: toggle

    required property SwitchOutlet outlet
    property string name: outlet.accessibleLabel

    implicitWidth: 51
    implicitHeight: 44
    visible: !outlet.hidden
    enabled: outlet.enabled
    opacity: outlet.enabled ? 1 : 0.4
    activeFocusOnTab: true
    Accessible.role: Accessible.CheckBox
    Accessible.name: name
    // Nothing is told twice.
    Accessible.description: outlet.accessibleHint === name ? "" : outlet.accessibleHint
    Accessible.checkable: true
    Accessible.checked: outlet.on
    Accessible.onToggleAction: flip()
    Accessible.onPressAction: flip()
    Keys.onSpacePressed: flip()
    Keys.onReturnPressed: flip()
    Keys.onEnterPressed: flip()

    function flip(): void { outlet.moved(!outlet.on); }

    Rectangle {
        anchors.verticalCenter: parent.verticalCenter
        width: 51
        height: 31
        radius: height / 2
        color: toggle.outlet.on ? Theme.accent : Theme.hairline
        Behavior on color { ColorAnimation { duration: Theme.duration } }

        Rectangle {
            x: (toggle.outlet.on !== Theme.mirrored) ? parent.width - width - 2 : 2
            anchors.verticalCenter: parent.verticalCenter
            width: 27
            height: 27
            radius: height / 2
            color: "white"
            border { width: 0.5; color: "#22000000" }
            Behavior on x { NumberAnimation { duration: Theme.duration; easing.type: Easing.OutCubic } }
        }
        FocusRing { anchors.margins: -4; radius: height / 2; shown: toggle.activeFocus }
    }
    TapHandler { onTapped: toggle.flip() }
    HoverHandler { cursorShape: Qt.PointingHandCursor }
}
