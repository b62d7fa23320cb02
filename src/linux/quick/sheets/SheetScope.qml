import QtQuick

/// A sheet as far as the keyboard goes: it walks from line to line and stays within the sheet.
FocusScope {
    id: scope

    property bool opened: false

    function holds(item: Item): bool {
        for (let above = item; above; above = above.parent)
            if (above === scope)
                return item !== scope;
        return false;
    }
    /// To the line after, or before, the one that the keyboard is at.
    function step(forward: bool): void {
        let next = Window.activeFocusItem.nextItemInFocusChain(forward);
        // From the ends the way leads around through the rest of the window.
        for (let i = 0; i < 500 && !holds(next); ++i)
            next = next.nextItemInFocusChain(forward);
        if (holds(next))
            next.forceActiveFocus(forward ? Qt.TabFocusReason : Qt.BacktabFocusReason);
    }

    onActiveFocusChanged: if (!activeFocus && opened && Window.active) forceActiveFocus()
}
