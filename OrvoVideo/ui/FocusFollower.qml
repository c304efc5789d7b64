import QtQuick
import OrvoVideo

/// Scrolls what gets the keyboard into sight, in every list and page around it. One for each window. What the pointer
/// presses is seen already, and must not move under it.
QtObject {
    id: root

    required property Item focusItem

    function follow() {
        if (!focusItem || focusItem.focusReason === Qt.MouseFocusReason)
            return
        for (let around = focusItem.parent; around; around = around.parent) {
            if (around instanceof Flickable)
                reveal(around)
        }
    }
    /// Scrolls as little as needed. Of what is higher than the page, the beginning is shown.
    function reveal(page: Flickable) {
        const margin = Math.min(Theme.space(6), Math.max(0, (page.height - focusItem.height) / 2))
        const top = focusItem.mapToItem(page.contentItem, 0, 0).y
        const highest = top - margin
        const lowest = top + focusItem.height + margin - page.height
        const wanted = Math.min(Math.max(page.contentY, lowest), highest)
        const last = page.originY + Math.max(0, page.contentHeight - page.height)
        page.contentY = Math.min(Math.max(wanted, page.originY), last)
    }

    // Later: what was made or shown just now has no place yet.
    onFocusItemChanged: Qt.callLater(follow)
}
