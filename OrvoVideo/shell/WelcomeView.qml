pragma ComponentBehavior: Bound

import QtQuick
import QtQuick.Controls.Basic
import Orvo.Model
import Orvo.Ui

/// The welcome page: the purpose of the application and buttons to begin.
Item {
    id: root

    required property AppModel app
    /// Whether to show a button for the hidden library.
    property bool libraryReachable: false

    signal libraryToggled()
    signal recorderWanted()

    component Feature: Row {
        id: feature

        required property string iconName
        required property string headline
        required property string caption

        spacing: Theme.space(4)

        Rectangle {
            width: 44
            height: 44
            radius: Theme.panelRadius
            color: Theme.raised

            OIcon {
                anchors.centerIn: parent
                name: feature.iconName
                size: Theme.largeIconSize
                color: Theme.accentInk
            }
        }
        Column {
            anchors.verticalCenter: parent.verticalCenter
            spacing: 2

            OLabel {
                text: feature.headline
                font.pixelSize: Theme.headlineSize
                font.weight: Font.DemiBold
            }
            OLabel {
                secondary: true
                text: feature.caption
            }
        }
    }

    OIconButton {
        x: Theme.space(3)
        y: Theme.space(3)
        visible: root.libraryReachable
        iconName: "panel-left"
        command: Commands.ToggleLibrary
        onClicked: root.libraryToggled()
    }

    Flickable {
        anchors.fill: parent
        anchors.topMargin: root.libraryReachable ? 48 : 0
        contentHeight: Math.max(height, content.height + Theme.space(16))
        clip: true
        boundsBehavior: Flickable.StopAtBounds
        ScrollBar.vertical: OScrollBar {}

        Column {
            id: content

            x: Math.max(Theme.space(8), (parent.width - width) / 2)
            anchors.verticalCenter: parent.verticalCenter
            width: Math.min(560, root.width - Theme.space(16))
            spacing: Theme.space(8)

            Column {
                width: parent.width
                spacing: Theme.space(3)

                OLabel {
                    text: "DE LA IDEA AL VÍDEO"
                    color: Theme.accentInk
                    font.pixelSize: Theme.captionSize
                    font.weight: Font.DemiBold
                    font.letterSpacing: 3
                }
                OLabel {
                    width: parent.width
                    text: "Graba tu explicación.\nDale tu toque."
                    font.pixelSize: Theme.largeTitleSize
                    font.weight: Font.Bold
                    lineHeight: 1.1
                    wrapMode: Text.Wrap
                    Accessible.role: Accessible.Heading
                }
                OLabel {
                    width: parent.width
                    secondary: true
                    text: "Pantalla, cámara y voz. Edita desde la transcripción y comparte en tu propia web."
                    font.pixelSize: Theme.headlineSize
                    lineHeight: 1.3
                    wrapMode: Text.Wrap
                }
            }
            Column {
                spacing: Theme.space(4)

                Feature {
                    iconName: "mouse-pointer-click"
                    headline: "Señala lo importante"
                    caption: "Zooms y clics editables"
                }
                Feature {
                    iconName: "message-square-text"
                    headline: "Edita tus palabras"
                    caption: Wording.here("Transcripción en tu Mac")
                }
                Feature {
                    iconName: "square-play"
                    headline: "Comparte a tu manera"
                    caption: "Drive y tu propio dominio"
                }
            }
            Row {
                spacing: Theme.space(3)

                OButton {
                    objectName: "welcomeRecord"
                    prominent: true
                    text: "Empezar a grabar"
                    iconName: "circle-dot"
                    enabled: root.app.idle
                    onClicked: root.recorderWanted()
                }
                OButton {
                    objectName: "welcomeImport"
                    implicitHeight: Theme.prominentHeight
                    text: "Importar un vídeo"
                    iconName: "download"
                    enabled: !root.app.recorder.isRecording
                    onClicked: root.app.importMedia(false)
                }
            }
        }
    }
}
