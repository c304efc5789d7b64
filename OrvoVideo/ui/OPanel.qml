import QtQuick
import QtQuick.Controls.Basic

/// A surface on the window that holds what belongs together.
Pane {
    padding: Theme.space(4)

    background: Rectangle {
        color: Theme.panel
        radius: Theme.panelRadius
        border.color: Theme.line
    }
}
