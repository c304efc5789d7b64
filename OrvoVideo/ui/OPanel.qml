import QtQuick
import QtQuick.Controls.Basic

/// A surface that groups related content.
Pane {
    id: control

    /// Whether to highlight it as the current panel.
    property bool marked: false

    padding: Theme.space(4)

    background: Rectangle {
        color: Theme.panel
        radius: Theme.panelRadius
        border.color: control.marked ? Theme.accentInk : Theme.line
        border.width: control.marked ? 2 : 1
    }
}
