import QtQuick
import QtQuick.Controls.Basic

/// A styled menu.
Menu {
    id: control

    padding: Theme.space(1)
    contentWidth: {
        let widest = 0
        for (let i = 0; i < count; ++i)
            widest = Math.max(widest, itemAt(i)?.implicitWidth ?? 0)
        return widest
    }
    delegate: OMenuItem {}

    background: Rectangle {
        implicitWidth: 240
        radius: Theme.radius
        color: Theme.panel
        border.color: Theme.line
    }
}
