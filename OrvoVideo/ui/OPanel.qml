import QtQuick
import QtQuick.Controls.Basic

/// A surface that groups related content.
Pane {
    padding: Theme.space(4)

    background: Rectangle {
        color: Theme.panel
        radius: Theme.panelRadius
        border.color: Theme.line
    }
}
