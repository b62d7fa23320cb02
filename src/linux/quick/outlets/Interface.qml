import QtQuick
import Tessaly

/// The root of an interface file: lays out the outlets of its owner.
Item {
    required property Outlets outlets
}
