import QtQuick
import QtQuick.Controls.Basic

/// A list inside a page, at most `maximumHeight` high. Up and Down move the focus to the same control of the adjacent
/// entry, which Tab alone does not reach while that entry is out of view.
ListView {
    id: root

    property real maximumHeight: Number.POSITIVE_INFINITY
    property string name: ""
    /// Width of an entry beside the scroll bar.
    readonly property real entryWidth: width - (contentHeight > height ? Theme.space(3) : 0)

    function entryAround(item: Item): Item {
        while (item && item.parent !== contentItem)
            item = item.parent
        return item
    }
    /// The focusable controls of an entry, in Tab order.
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
