pragma ComponentBehavior: Bound

import QtQuick
import QtQuick.Controls.Basic
import Orvo.Model
import Orvo.Ui

/// The menus of the main window. Their shortcuts work in the whole window; a focused text field overrides them with its own.
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
    signal historyWanted()
    signal equipmentWanted()
    signal helpWanted(tab: int)
    signal exportWanted()
    signal spaceWanted()

    /// A command of the editor; disabled without a project and while recording.
    component EditorAction: CommandAction {
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

        CommandAction {
            command: Commands.NewRecording
            enabled: root.app.idle
            onTriggered: root.recorderWanted()
        }
        CommandAction {
            command: Commands.ImportVideo
            enabled: !root.app.recorder.isRecording
            onTriggered: root.app.importMedia(false)
        }
        CommandAction {
            command: Commands.AppendVideo
            enabled: root.app.hasProject && !root.app.recorder.isRecording
            onTriggered: root.app.importMedia(true)
        }
        OMenuSeparator {}
        CommandAction {
            command: Commands.ExportVideo
            enabled: root.app.hasProject && !root.app.recorder.isRecording
            onTriggered: root.exportWanted()
        }
        CommandAction {
            command: Commands.OpenSpace
            onTriggered: root.spaceWanted()
        }
        OMenuSeparator {}
        CommandAction {
            command: Commands.OpenSettings
            onTriggered: root.settingsWanted()
        }
        OMenuSeparator {}
        CommandAction {
            command: Commands.Quit
            onTriggered: root.quitWanted()
        }
    }
    OMenu {
        title: "&Editar"

        CommandAction {
            command: Commands.Undo
            text: Commands.menuText(command) + (root.app.canUndo ? ": " + root.app.editing.undoName.replace(/&/g, "&&") : "")
            enabled: root.app.canUndo
            onTriggered: root.app.undo()
        }
        CommandAction {
            command: Commands.Redo
            text: Commands.menuText(command) + (root.app.canRedo ? ": " + root.app.editing.redoName.replace(/&/g, "&&") : "")
            enabled: root.app.canRedo
            onTriggered: root.app.redo()
        }
        CommandAction {
            command: Commands.ShowHistory
            enabled: root.app.canUndo || root.app.canRedo
            onTriggered: root.historyWanted()
        }
        OMenuSeparator {}
        EditorAction {
            command: Commands.StartSelection
            onTriggered: root.app.editing.startSelectionHere()
        }
        EditorAction {
            command: Commands.EndSelection
            onTriggered: root.app.editing.endSelectionHere()
        }
        EditorAction {
            command: Commands.CutSelection
            onTriggered: root.app.cutSelection()
        }
        EditorAction {
            command: Commands.AddZoom
            onTriggered: root.zoomWanted()
        }
        OMenuSeparator {}
        EditorAction {
            command: Commands.ShowKeys
            enabled: root.app.hasProject
            onTriggered: root.keysWanted()
        }
    }
    OMenu {
        title: "&Ver"

        CommandAction {
            command: Commands.ToggleLibrary
            checkable: true
            checked: root.libraryShown
            onTriggered: {
                checked = Qt.binding(() => root.libraryShown)
                root.libraryToggled()
            }
        }
        CommandAction {
            command: Commands.ToggleInspector
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
            command: Commands.SystemAppearance
            choice: "system"
        }
        AppearanceAction {
            command: Commands.DarkAppearance
            choice: "dark"
        }
        AppearanceAction {
            command: Commands.LightAppearance
            choice: "light"
        }
    }
    OMenu {
        title: "A&yuda"

        CommandAction {
            command: Commands.OpenGuide
            onTriggered: root.helpWanted(0)
        }
        EditorAction {
            command: Commands.ShowKeys
            enabled: root.app.hasProject
            onTriggered: root.keysWanted()
        }
        OMenuSeparator {}
        CommandAction {
            command: Commands.CheckEquipment
            onTriggered: root.equipmentWanted()
        }
        CommandAction {
            command: Commands.RevealCrashLog
            enabled: root.app.installation.crashLog !== ""
            onTriggered: root.app.installation.revealCrashLog()
        }
        OMenuSeparator {}
        CommandAction {
            command: Commands.OpenAbout
            onTriggered: root.helpWanted(1)
        }
    }
}
