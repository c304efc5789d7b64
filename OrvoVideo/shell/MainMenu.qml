pragma ComponentBehavior: Bound

import QtQuick
import QtQuick.Controls.Basic
import Orvo.Model
import Orvo.Ui

/// The menus of the main window. Their shortcuts hold in the whole window; a text field that is being edited keeps its own.
MenuBar {
    id: root

    required property AppModel app
    property bool libraryShown: true
    property bool inspectorShown: true

    signal libraryToggled()
    signal inspectorToggled()
    signal settingsWanted()
    signal recorderWanted()
    signal quitWanted()
    signal zoomWanted()
    signal keysWanted()
    signal exportWanted()
    signal spaceWanted()

    /// What the editor does with a key of its own, which must not be taken from texts that are being edited.
    component EditorAction: Action {
        property string keys: ""

        enabled: root.app.hasProject && !root.app.recorder.isRecording
    }

    background: Rectangle {
        color: Theme.panel

        Rectangle {
            anchors.bottom: parent.bottom
            width: parent.width
            height: 1
            color: Theme.line
        }
    }
    delegate: MenuBarItem {
        id: heading

        implicitHeight: 30
        leftPadding: Theme.space(3)
        rightPadding: Theme.space(3)
        Accessible.name: text.replace("&", "")

        contentItem: OMnemonic {
            label: heading.text
        }
        background: Rectangle {
            color: heading.highlighted || heading.hovered ? Theme.raised : "transparent"
        }
    }

    OMenu {
        title: "&Archivo"

        Action {
            text: "&Nueva grabación…"
            shortcut: "Ctrl+R"
            enabled: root.app.idle
            onTriggered: root.recorderWanted()
        }
        Action {
            text: "&Importar vídeo…"
            shortcut: "Ctrl+I"
            enabled: !root.app.recorder.isRecording
            onTriggered: root.app.importMedia(false)
        }
        Action {
            text: "Aña&dir vídeo a este proyecto…"
            shortcut: "Ctrl+Shift+I"
            enabled: root.app.hasProject && !root.app.recorder.isRecording
            onTriggered: root.app.importMedia(true)
        }
        OMenuSeparator {}
        Action {
            text: "E&xportar…"
            shortcut: "Ctrl+E"
            enabled: root.app.hasProject && !root.app.recorder.isRecording
            onTriggered: root.exportWanted()
        }
        Action {
            text: "¿&Qué ocupa espacio?"
            onTriggered: root.spaceWanted()
        }
        OMenuSeparator {}
        Action {
            text: "A&justes…"
            shortcut: "Ctrl+,"
            onTriggered: root.settingsWanted()
        }
        OMenuSeparator {}
        Action {
            text: "&Salir"
            shortcut: "Ctrl+Q"
            onTriggered: root.quitWanted()
        }
    }
    OMenu {
        title: "&Editar"

        Action {
            text: "&Deshacer"
            shortcut: "Ctrl+Z"
            enabled: root.app.canUndo
            onTriggered: root.app.undo()
        }
        Action {
            text: "&Rehacer"
            shortcut: "Ctrl+Shift+Z"
            enabled: root.app.canRedo
            onTriggered: root.app.redo()
        }
        OMenuSeparator {}
        EditorAction {
            text: "&Inicio de la selección aquí"
            keys: "I"
            onTriggered: root.app.startSelectionHere()
        }
        EditorAction {
            text: "&Final de la selección aquí"
            keys: "O"
            onTriggered: root.app.endSelectionHere()
        }
        EditorAction {
            text: "&Cortar selección"
            keys: "X"
            onTriggered: root.app.cutSelection()
        }
        EditorAction {
            text: "Añadir &zoom en este punto"
            keys: "Z"
            onTriggered: root.zoomWanted()
        }
        OMenuSeparator {}
        EditorAction {
            text: "&Todas las teclas"
            keys: "F1"
            enabled: root.app.hasProject
            onTriggered: root.keysWanted()
        }
    }
    OMenu {
        title: "&Ver"

        Action {
            text: "&Biblioteca"
            shortcut: "Ctrl+B"
            checkable: true
            checked: root.libraryShown
            onTriggered: {
                checked = Qt.binding(() => root.libraryShown)
                root.libraryToggled()
            }
        }
        Action {
            text: "&Inspector"
            shortcut: "Ctrl+Shift+B"
            checkable: true
            checked: root.inspectorShown
            enabled: root.app.hasProject
            onTriggered: {
                checked = Qt.binding(() => root.inspectorShown)
                root.inspectorToggled()
            }
        }
        OMenuSeparator {}
        AppearanceAction {
            text: "Aspecto del &sistema"
            choice: "system"
        }
        AppearanceAction {
            text: "Aspecto &oscuro"
            choice: "dark"
        }
        AppearanceAction {
            text: "Aspecto &claro"
            choice: "light"
        }
    }
}
