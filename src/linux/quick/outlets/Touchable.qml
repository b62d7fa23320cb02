import QtQuick
import Tessaly

/// Something that can be touched, clicked, and pressed with the keyboard.
Item {
    id: touchable

    signal touched
    property bool pressed: tap.pressed
    property string name
    property int role: Accessible.Button
    property bool showsFocus: true

    activeFocusOnTab: true
    Accessible.role: role
    Accessible.name: name
    Accessible.focusable: true
    Accessible.onPressAction: touched()
    Keys.onReturnPressed: touched()
    Keys.onEnterPressed: touched()
    Keys.onSpacePressed: touched()

    TapHandler {
        id: tap
        onTapped: touchable.touched()
        gesturePolicy: TapHandler.ReleaseWithinBounds
    }
    HoverHandler { cursorShape: Qt.PointingHandCursor }
    FocusRing { shown: touchable.showsFocus && touchable.activeFocus }
}
