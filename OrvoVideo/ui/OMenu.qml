import QtQuick
import QtQuick.Controls.Basic
import OrvoVideo

/// A menu in the looks of the application.
Menu {
    id: control

    padding: Theme.space(1)
    delegate: OMenuItem {}

    background: Rectangle {
        implicitWidth: 240
        radius: Theme.radius
        color: Theme.panel
        border.color: Theme.line
    }
}
