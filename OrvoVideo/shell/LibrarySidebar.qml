pragma ComponentBehavior: Bound

import QtQuick
import QtQuick.Controls.Basic
import QtQuick.Layouts
import Orvo.Model
import Orvo.Ui

/// The projects of the library, and what makes new ones.
Rectangle {
    id: root

    required property AppModel app

    signal projectChosen()
    signal settingsWanted()
    signal recorderWanted()

    function choose(projectId: string) {
        list.forceActiveFocus() // What is being typed elsewhere is taken before its project goes.
        // What is open stays as it is, with its history.
        if (!app.hasProject || app.project.projectId !== projectId || app.preview !== Playback.Ready)
            app.open(projectId)
        projectChosen()
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
        OCaption {
            Layout.leftMargin: Theme.space(1)
            Layout.topMargin: Theme.space(2)
            text: "BIBLIOTECA"
        }

        ListView {
            id: list

            objectName: "library"
            Layout.fillWidth: true
            Layout.fillHeight: true
            clip: true
            spacing: 2
            model: root.app.library
            reuseItems: true
            boundsBehavior: Flickable.StopAtBounds
            keyNavigationEnabled: true
            activeFocusOnTab: count > 0
            highlightMoveDuration: Theme.movement
            Accessible.role: Accessible.List
            Accessible.name: "Biblioteca"
            Keys.onReturnPressed: currentItem?.choose()
            Keys.onEnterPressed: currentItem?.choose()
            Keys.onSpacePressed: currentItem?.choose()
            onActiveFocusChanged: {
                if (activeFocus && currentIndex < 0)
                    currentIndex = Math.max(0, root.app.library.openRow())
            }
            ScrollBar.vertical: OScrollBar {}

            delegate: LibraryRow {
                width: ListView.view.width
                thumbnails: thumbnails
                focused: ListView.isCurrentItem && list.activeFocus
                onChosen: {
                    list.currentIndex = index
                    root.choose(projectId)
                }
            }

            Column {
                anchors.centerIn: parent
                width: parent.width - Theme.space(6)
                visible: root.app.libraryListed && list.count === 0
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
        }

        OButton {
            objectName: "import"
            Layout.fillWidth: true
            text: Commands.title(Commands.ImportVideo)
            iconName: "download"
            enabled: root.app.idle
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
