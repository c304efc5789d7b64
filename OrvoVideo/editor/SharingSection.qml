pragma ComponentBehavior: Bound

import QtQuick
import QtQuick.Controls.Basic
import QtQuick.Layouts
import Orvo.Model
import OrvoVideo

/// Where and for whom the video is published.
Flickable {
    id: root

    required property AppModel app
    /// Why nothing can be published; empty when it can.
    readonly property string unavailable: "La publicación no está disponible en esta versión. Exporta el vídeo para compartirlo como archivo."
    readonly property bool available: unavailable === ""

    contentHeight: column.implicitHeight + Theme.space(4)
    clip: true
    boundsBehavior: Flickable.StopAtBounds
    ScrollBar.vertical: OScrollBar {}

    component Note: OLabel {
        Layout.fillWidth: true
        secondary: true
        font.pixelSize: Theme.captionSize
        wrapMode: Text.Wrap
    }
    component Action: OButton {
        Layout.fillWidth: true
        enabled: root.available
        Accessible.description: root.unavailable
    }

    ColumnLayout {
        id: column

        width: root.width - Theme.space(3)
        spacing: Theme.space(3)

        OCaption {
            text: "PUBLICACIÓN"
        }
        OPanel {
            Layout.fillWidth: true
            visible: !root.available
            padding: Theme.space(3)

            contentItem: RowLayout {
                spacing: Theme.space(3)

                OIcon {
                    Layout.alignment: Qt.AlignTop
                    name: "info"
                    color: Theme.accentInk
                }
                OLabel {
                    Layout.fillWidth: true
                    text: root.unavailable
                    wrapMode: Text.Wrap
                }
            }
        }
        OLabel {
            text: "Dominios autorizados"
        }
        OTextArea {
            Layout.fillWidth: true
            name: "Dominios autorizados"
            placeholderText: "https://www.ejemplo.es, https://cursos.ejemplo.es"
            enabled: root.available
        }
        Note {
            text: "Escribe cada dominio completo, incluido www si lo usas. Una lista vacía bloquea la incrustación."
        }
        OSwitch {
            Layout.fillWidth: true
            text: "Permitir enlace público"
            enabled: root.available
        }
        Note {
            text: "WordPress controla el acceso a la página del curso. El reproductor no exige otra contraseña."
        }
        Action {
            prominent: true
            text: root.app.project.published ? "Reemplazar vídeo publicado" : "Publicar"
        }
        Action {
            visible: root.app.project.published
            iconName: "code-xml"
            text: "Copiar iframe"
        }
        Action {
            visible: root.app.project.published
            iconName: "link"
            text: "Copiar enlace"
        }
        Action {
            visible: root.app.project.published
            text: "Actualizar dominios y acceso"
        }
        Action {
            visible: root.app.project.published
            destructive: true
            text: "Retirar publicación"
        }
        Note {
            text: "Los originales y las versiones de reproducción se guardan de forma privada en Google Drive. El VPS mantiene una caché temporal."
        }
        Action {
            plain: true
            iconName: "settings"
            text: "Configurar servidor y Drive"
        }
    }
}
