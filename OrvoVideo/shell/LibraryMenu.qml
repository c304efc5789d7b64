import QtQuick
import QtQuick.Controls.Basic
import Orvo.Model
import Orvo.Ui

/// The context menu for the chosen projects of the library.
OMenu {
    id: root

    required property AppModel app
    /// Identifiers of projects.
    property var projects: []
    /// Whether the project at which the menu was opened is a failed or unfinished import.
    property bool failed: false
    readonly property bool single: projects.length === 1

    signal openWanted()
    signal renameWanted()
    signal exportWanted()

    OMenuItem {
        text: "Abrir"
        enabled: root.single && !root.failed
        onTriggered: root.openWanted()
    }
    OMenuItem {
        command: Commands.RenameProject
        text: Commands.menuText(command)
        enabled: root.single
        onTriggered: root.renameWanted()
    }
    OMenuItem {
        command: Commands.DuplicateProjects
        text: Commands.menuText(command)
        enabled: !root.failed
        onTriggered: root.app.care.duplicate(root.projects)
    }
    OMenuItem {
        text: "Mostrar carpeta"
        enabled: root.single
        onTriggered: root.app.care.showFolder(root.projects[0])
    }
    OMenuItem {
        text: "Exportar…"
        enabled: root.single && !root.failed
        onTriggered: root.exportWanted()
    }
    OMenuSeparator {}
    OMenuItem {
        command: Commands.TrashProjects
        text: Commands.menuText(command)
        destructive: true
        onTriggered: root.app.care.moveToTrash(root.projects)
    }
}
