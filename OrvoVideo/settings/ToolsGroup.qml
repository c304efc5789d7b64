import QtQuick
import QtQuick.Layouts
import Orvo.Model
import Orvo.Ui

/// The external programs, and the folder of the projects.
SettingsGroup {
    id: root

    required property AppModel app

    title: "Herramientas"

    RowLayout {
        spacing: Theme.space(2)

        OIcon {
            name: root.app.installation.ffmpegAvailable ? "circle-check" : "circle-alert"
            color: root.app.installation.ffmpegAvailable ? Theme.selectionEdge : Theme.danger
        }
        OLabel {
            objectName: "ffmpeg"
            Layout.fillWidth: true
            text: root.app.installation.ffmpegAvailable ? "FFmpeg disponible" : "FFmpeg no encontrado. Instala con Homebrew: brew install ffmpeg-full"
            wrapMode: Text.Wrap
        }
    }
    SettingsNote {
        visible: !root.app.installation.ffmpegAvailable && root.app.installation.ffmpegCommand !== ""
        text: "En este sistema: " + root.app.installation.ffmpegCommand
    }
    OButton {
        text: "Abrir carpeta de proyectos"
        iconName: "folder-open"
        onClicked: root.app.installation.openProjectsFolder()
    }
}
