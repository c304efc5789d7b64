import QtQuick

/// Scrolls the focused item into view, in every list and page around it. Use one per window. An item pressed with the pointer
/// is visible already and must not move under it.
QtObject {
    id: root

    required property Window window
    readonly property Item focusItem: window.activeFocusItem
    property bool due: false
    property real place: NaN ///< In the window, in the previous frame.

    // New or newly shown items reach their position after some frames: lists grow when their entries are created.
    readonly property Connections frames: Connections {
        target: root.window
        enabled: root.due

        function onAfterAnimating() {
            root.follow()
            const now = root.focusItem ? root.focusItem.mapToItem(null, 0, 0).y : NaN
            root.due = root.focusItem !== null && now !== root.place
            root.place = now
            if (root.due)
                root.window.update()
        }
    }

    function follow() {
        if (!focusItem || focusItem.focusReason === Qt.MouseFocusReason)
            return
        for (let around = focusItem.parent; around; around = around.parent) {
            if (around instanceof Flickable)
                reveal(around)
        }
    }
    /// Scrolls the minimum distance. If the item is higher than the page, shows its start.
    function reveal(page: Flickable) {
        const margin = Math.min(Theme.space(6), Math.max(0, (page.height - focusItem.height) / 2))
        const top = focusItem.mapToItem(page.contentItem, 0, 0).y
        const maxY = top - margin
        const minY = top + focusItem.height + margin - page.height
        const wanted = Math.min(Math.max(page.contentY, minY), maxY)
        const last = page.originY + Math.max(0, page.contentHeight - page.height)
        page.contentY = Math.min(Math.max(wanted, page.originY), last)
    }

    onFocusItemChanged: {
        due = true
        place = NaN
        window.update()
    }
}
