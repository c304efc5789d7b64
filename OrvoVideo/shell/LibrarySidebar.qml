pragma ComponentBehavior: Bound

import QtQuick
import QtQuick.Controls.Basic
import QtQuick.Layouts
import Orvo.Model
import Orvo.Ui

/// The projects of the library, and the buttons that create projects.
Rectangle {
    id: root

    required property AppModel app

    signal projectChosen()
    signal settingsWanted()
    signal recorderWanted()
    signal exportWanted(projectId: string, title: string)
    signal spaceWanted()

    /// The identifiers in a multiple selection; empty when commands apply to the current project only.
    property var marked: []
    property string renaming: ""

    function choose(projectId: string) {
        list.forceActiveFocus() // Commits text typed elsewhere before its project is closed.
        marked = []
        // Does not reopen the open project, which keeps its history.
        if (!app.hasProject || app.project.projectId !== projectId || app.preview !== Playback.Ready)
            app.open(projectId)
        projectChosen()
    }
    function toggle(projectId: string) {
        const others = marked.filter(other => other !== projectId)
        marked = others.length < marked.length ? others : others.concat([projectId])
    }
    function extend(from: int, to: int) {
        const ids = marked.slice()
        for (let row = Math.min(from, to); row <= Math.max(from, to); ++row) {
            if (!ids.includes(view.idAt(row)))
                ids.push(view.idAt(row))
        }
        marked = ids
    }
    /// The projects that a command on this project applies to.
    function targets(projectId: string): var {
        return marked.includes(projectId) ? marked : [projectId]
    }
    function openMenu(item: Item) {
        list.currentIndex = item.index
        if (!marked.includes(item.projectId))
            marked = []
        menu.projects = targets(item.projectId)
        menu.failed = item.state === "import-failed"
        menu.parent = item
        menu.popup(item, Theme.space(4), item.height / 2)
    }
    function rename(projectId: string) {
        renaming = projectId
    }

    LibraryView {
        id: view

        library: root.app.library
        search: search.text
        order: remembered.order
    }
    Remembered {
        id: remembered

        category: "library"
        property string order: "created"
    }
    LibraryMenu {
        id: menu

        app: root.app
        onOpenWanted: root.choose(projects[0])
        onRenameWanted: Qt.callLater(root.rename, projects[0]) // After the menu has released the focus.
        onExportWanted: root.exportWanted(projects[0], root.app.library.titleOf(projects[0]))
        onClosed: list.forceActiveFocus()
    }

    color: Theme.panel

    ProjectThumbnails {
        id: thumbnails

        model: root.app
    }

    ColumnLayout {
        anchors.fill: parent
        anchors.margins: Theme.space(3)
        spacing: Theme.space(3)

        RowLayout {
            Layout.margins: Theme.space(1)
            spacing: Theme.space(3)

            Rectangle {
                implicitWidth: 36
                implicitHeight: 36
                radius: 10
                color: Theme.accent

                OIcon {
                    anchors.centerIn: parent
                    name: "circle-dot"
                    size: Theme.largeIconSize
                    color: Theme.inkOnAccent
                }
            }
            Column {
                Layout.fillWidth: true

                OLabel {
                    text: "Orvo Video"
                    font.pixelSize: Theme.headlineSize
                    font.weight: Font.DemiBold
                }
                OLabel {
                    width: parent.width
                    secondary: true
                    text: "Local · Privado · Tuyo"
                    font.pixelSize: Theme.captionSize
                    elide: Text.ElideRight
                }
            }
        }

        OButton {
            objectName: "newRecording"
            Layout.fillWidth: true
            prominent: true
            text: Commands.title(Commands.NewRecording)
            iconName: "plus"
            enabled: root.app.idle
            onClicked: root.recorderWanted()
        }
        RowLayout {
            Layout.leftMargin: Theme.space(1)

            OCaption {
                Layout.fillWidth: true
                text: "BIBLIOTECA"
            }
            OIconButton {
                id: orderButton

                objectName: "libraryOrder"
                iconName: "ellipsis"
                text: "Ordenar la biblioteca"
                onClicked: orders.popup(orderButton, 0, height)

                OMenu {
                    id: orders

                    Repeater {
                        model: [{
                                "order": "created",
                                "text": "Por fecha"
                            }, {
                                "order": "updated",
                                "text": "Por último cambio"
                            }, {
                                "order": "title",
                                "text": "Por título"
                            }, {
                                "order": "duration",
                                "text": "Por duración"
                            }, {
                                "order": "size",
                                "text": "Por tamaño"
                            }]

                        OMenuItem {
                            required property var modelData

                            text: modelData.text
                            checkable: true
                            checked: remembered.order === modelData.order
                            onTriggered: {
                                remembered.order = modelData.order
                                checked = Qt.binding(() => remembered.order === modelData.order)
                            }
                        }
                    }
                    OMenuSeparator {}
                    OMenuItem {
                        text: "¿Qué ocupa espacio?"
                        onTriggered: root.spaceWanted()
                    }
                }
            }
        }
        OTextField {
            id: search

            objectName: "librarySearch"
            Layout.fillWidth: true
            visible: root.app.library.count > 0
            placeholderText: "Buscar un vídeo"
            onGivenUp: clear()
            Keys.onDownPressed: list.forceActiveFocus()
        }

        ListView {
            id: list

            objectName: "library"
            Layout.fillWidth: true
            Layout.fillHeight: true
            clip: true
            spacing: 2
            model: view
            reuseItems: true
            boundsBehavior: Flickable.StopAtBounds
            keyNavigationEnabled: true
            activeFocusOnTab: count > 0
            highlightMoveDuration: Theme.movement
            Accessible.role: Accessible.List
            Accessible.name: "Biblioteca"
            Keys.onPressed: event => {
                const row = currentItem
                if (!row)
                    return
                const command = Commands.pressed(Commands.Scope.Library, event.key, event.modifiers)
                const isDown = event.key === Qt.Key_Down
                event.accepted = true
                if (command === Commands.RenameProject) {
                    root.rename(row.projectId)
                } else if (command === Commands.TrashProjects) {
                    root.app.care.moveToTrash(root.targets(row.projectId))
                } else if (command === Commands.DuplicateProjects) {
                    root.app.care.duplicate(root.targets(row.projectId))
                } else if (command === Commands.MarkAllProjects) {
                    root.extend(0, count - 1)
                } else if (event.key === Qt.Key_Menu || (event.key === Qt.Key_F10 && event.modifiers & Qt.ShiftModifier)) {
                    root.openMenu(row)
                } else if (event.key === Qt.Key_Escape && root.marked.length > 0) {
                    root.marked = []
                } else if (event.modifiers & Qt.ShiftModifier && (isDown || event.key === Qt.Key_Up)) {
                    const next = Math.min(Math.max(currentIndex + (isDown ? 1 : -1), 0), count - 1)
                    root.extend(currentIndex, next)
                    currentIndex = next
                } else {
                    event.accepted = false
                }
            }
            Keys.onReturnPressed: currentItem?.choose()
            Keys.onEnterPressed: currentItem?.choose()
            Keys.onSpacePressed: currentItem?.choose()
            onActiveFocusChanged: {
                if (activeFocus && currentIndex < 0)
                    currentIndex = Math.max(0, view.rowOf(root.app.project.projectId))
            }
            ScrollBar.vertical: OScrollBar {}

            delegate: LibraryRow {
                width: ListView.view.width
                thumbnails: thumbnails
                focused: ListView.isCurrentItem && list.activeFocus
                marked: root.marked.includes(projectId)
                renaming: root.renaming === projectId
                onChosen: {
                    list.currentIndex = index
                    root.choose(projectId)
                }
                onMarkWanted: {
                    list.forceActiveFocus()
                    list.currentIndex = index
                    root.toggle(projectId)
                }
                onExtended: {
                    list.forceActiveFocus()
                    root.extend(Math.max(0, list.currentIndex), index)
                    list.currentIndex = index
                }
                onMenuWanted: root.openMenu(this)
                onRemoveWanted: root.app.care.moveToTrash([projectId])
                onRenamed: text => {
                    root.renaming = ""
                    list.forceActiveFocus()
                    if (text !== title)
                        root.app.care.rename(projectId, text)
                }
            }

            Column {
                anchors.centerIn: parent
                width: parent.width - Theme.space(6)
                visible: root.app.libraryListed && root.app.library.count === 0
                spacing: Theme.space(2)

                OIcon {
                    anchors.horizontalCenter: parent.horizontalCenter
                    name: "film"
                    size: 28
                    color: Theme.secondaryText
                }
                OLabel {
                    width: parent.width
                    text: "Aún no hay vídeos"
                    horizontalAlignment: Text.AlignHCenter
                    font.weight: Font.DemiBold
                }
                OLabel {
                    width: parent.width
                    secondary: true
                    text: "Graba el primero, o importa uno: suéltalo en esta ventana. Se copia en tu biblioteca y el original no se toca."
                    horizontalAlignment: Text.AlignHCenter
                    wrapMode: Text.Wrap
                    font.pixelSize: Theme.captionSize
                    lineHeight: 1.25
                }
            }
            OLabel {
                anchors.centerIn: parent
                width: parent.width - Theme.space(6)
                visible: root.app.library.count > 0 && list.count === 0
                secondary: true
                text: "Ningún título contiene «" + search.text.trim() + "»."
                horizontalAlignment: Text.AlignHCenter
                wrapMode: Text.Wrap
            }
        }

        RowLayout {
            objectName: "trashed"
            visible: root.app.care.trashed !== ""
            spacing: Theme.space(1)

            OLabel {
                Layout.fillWidth: true
                Layout.leftMargin: Theme.space(1)
                secondary: true
                text: root.app.care.trashed
                font.pixelSize: Theme.captionSize
                wrapMode: Text.Wrap
                maximumLineCount: 2
                elide: Text.ElideRight
            }
            OButton {
                text: "Deshacer"
                Accessible.name: "Deshacer: " + root.app.care.trashed
                onClicked: root.app.care.undoTrash()
            }
            OIconButton {
                iconName: "x"
                text: "Cerrar el aviso de la papelera"
                onClicked: root.app.care.forgetTrash()
            }
        }
        OButton {
            objectName: "import"
            Layout.fillWidth: true
            text: Commands.title(Commands.ImportVideo)
            iconName: "download"
            enabled: !root.app.recorder.isRecording
            onClicked: root.app.importMedia(false)
        }
        OButton {
            objectName: "settings"
            Layout.fillWidth: true
            text: Commands.title(Commands.OpenSettings)
            iconName: "settings"
            onClicked: root.settingsWanted()
        }
    }
}
