import QtQuick
import QtQuick.Controls.Basic
import Orvo.Model
import Orvo.Ui

/// What can be done with the projects that were chosen in the library.
OMenu {
    id: root

    required property AppModel app
    /// Identifiers of projects.
    property var projects: []
    /// Whether one of them has nothing but the reason why it could not be imported.
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
