import QtQuick
import QtQuick.Controls.Basic

/// A list inside a page, at most `maximumHeight` high. Up and down move the keyboard to the same control of the entry before
/// or behind, which Tab alone does not reach while the entry is out of sight.
ListView {
    id: root

    property real maximumHeight: Number.POSITIVE_INFINITY
    property string name: ""
    /// Room beside the entries for the scroll bar.
    readonly property real entryWidth: width - (contentHeight > height ? Theme.space(3) : 0)

    function entryAround(item: Item): Item {
        while (item && item.parent !== contentItem)
            item = item.parent
        return item
    }
    /// What takes the keyboard in an entry, in the order of Tab.
    function controlsOf(entry: Item): var {
        const found = []
        for (let next = entry.nextItemInFocusChain(); next && entryAround(next) === entry && !found.includes(next); next = next.nextItemInFocusChain())
            found.push(next)
        return found
    }
    function move(step: int): bool {
        const focused = Window.activeFocusItem
        const entry = entryAround(focused)
        if (!entry)
            return false
        const row = indexAt(entry.x, entry.y) + step
        if (row < 0 || row >= count)
            return false
        const place = controlsOf(entry).indexOf(focused)
        positionViewAtIndex(row, ListView.Contain)
        const controls = controlsOf(itemAtIndex(row))
        if (controls.length > 0)
            controls[Math.min(Math.max(place, 0), controls.length - 1)].forceActiveFocus(step > 0 ? Qt.TabFocusReason : Qt.BacktabFocusReason)
        return true
    }

    implicitHeight: Math.min(contentHeight, maximumHeight)
    visible: count > 0
    clip: true
    boundsBehavior: Flickable.StopAtBounds
    keyNavigationEnabled: false
    ScrollBar.vertical: OScrollBar {}
    Accessible.role: Accessible.List
    Accessible.name: name
    Keys.onUpPressed: event => event.accepted = move(-1)
    Keys.onDownPressed: event => event.accepted = move(1)
}
