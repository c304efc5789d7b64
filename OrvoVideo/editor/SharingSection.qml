pragma ComponentBehavior: Bound

import QtQuick
import QtQuick.Controls.Basic
import QtQuick.Layouts
import Orvo.Model
import Orvo.Ui

/// Publishes the video: to which server and for whom.
Flickable {
    id: root

    required property AppModel app
    /// Whether a server is configured.
    readonly property bool configured: app.server.serverURL.trim() !== ""

    signal settingsWanted()

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
            visible: !root.configured
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
                    text: "Para publicar hace falta tu propio servidor. Escribe su dirección y su credencial en Ajustes."
                    wrapMode: Text.Wrap
                }
            }
        }
        OLabel {
            text: "Dominios autorizados"
        }
        OTextArea {
            id: domains

            objectName: "domains"
            Layout.fillWidth: true
            name: "Dominios autorizados"
            placeholderText: "https://www.ejemplo.es,\nhttps://cursos.ejemplo.es"
            text: root.app.publishing.domainText
            onTextChanged: root.app.publishing.domainText = text

            Connections {
                target: root.app.publishing

                function onDomainTextChanged() {
                    if (domains.text !== root.app.publishing.domainText)
                        domains.text = root.app.publishing.domainText
                }
            }
        }
        Note {
            text: "Escribe cada dominio completo, incluido www si lo usas. Una lista vacía bloquea la incrustación."
        }
        OSwitch {
            objectName: "publicLink"
            Layout.fillWidth: true
            text: "Permitir enlace público"
            checked: root.app.publishing.publicLink
            onToggled: {
                root.app.publishing.publicLink = checked
                checked = Qt.binding(() => root.app.publishing.publicLink)
            }
        }
        Note {
            text: "WordPress controla el acceso a la página del curso. El reproductor no exige otra contraseña."
        }
        Action {
            objectName: "publish"
            prominent: true
            enabled: root.configured && !root.app.recorder.isRecording
            text: root.app.project.published ? "Reemplazar vídeo publicado" : "Publicar"
            onClicked: root.app.publish()
        }
        Action {
            visible: root.app.project.published
            iconName: "code-xml"
            text: "Copiar iframe"
            onClicked: root.app.publishing.copyEmbed()
        }
        Action {
            visible: root.app.project.published
            iconName: "link"
            text: "Copiar enlace"
            onClicked: root.app.publishing.copyLink()
        }
        Action {
            visible: root.app.project.published
            enabled: root.app.idle
            text: "Actualizar dominios y acceso"
            onClicked: root.app.publishing.updatePolicy()
        }
        Action {
            visible: root.app.project.published
            enabled: root.app.idle
            destructive: true
            text: "Retirar publicación"
            onClicked: withdrawal.open()
        }
        Note {
            visible: root.app.server.usesDrive
            text: "Los originales y las versiones de reproducción se guardan de forma privada en Google Drive. El VPS mantiene una caché temporal."
        }
        Action {
            plain: true
            iconName: "settings"
            text: "Configurar servidor y Drive"
            onClicked: root.settingsWanted()
        }
    }

    Alert {
        id: withdrawal

        title: "¿Retirar la publicación?"
        message: "El vídeo deja de verse en las páginas que lo muestran y su enlace deja de funcionar. El proyecto se queda como está."
        acceptText: "Retirar publicación"
        rejectText: "Cancelar"
        destructive: true
        onAccepted: root.app.publishing.unpublish()
    }
}
