pragma ComponentBehavior: Bound

import QtQuick
import QtQuick.Layouts
import Orvo.Model
import Orvo.Ui

/// Explains how to install the browser's extension, in three steps that stay open, and then how to use it.
ColumnLayout {
    id: root

    required property AppModel app
    readonly property bool installed: app.installation.extensionConnected
    /// Shows the steps even though the extension is installed.
    property bool again: false

    component Step: RowLayout {
        id: step

        property int number: 1
        property string text: ""
        default property alias content: column.data

        spacing: Theme.space(3)

        Rectangle {
            Layout.alignment: Qt.AlignTop
            implicitWidth: 24
            implicitHeight: 24
            radius: 12
            color: Theme.raised
            border.color: Theme.line

            OLabel {
                anchors.centerIn: parent
                text: step.number
                font.weight: Font.DemiBold
                Accessible.ignored: true
            }
        }
        ColumnLayout {
            id: column

            Layout.fillWidth: true
            spacing: Theme.space(2)

            OLabel {
                Layout.fillWidth: true
                text: step.text
                wrapMode: Text.Wrap
                lineHeight: 1.25
                Accessible.name: "Paso " + step.number + ": " + text
            }
        }
    }

    spacing: Theme.space(4)

    RowLayout {
        spacing: Theme.space(2)

        OIcon {
            visible: root.installed
            name: "circle-check"
            size: Theme.largeIconSize
            color: Theme.goodInk
        }
        OLabel {
            objectName: "tabState"
            Layout.fillWidth: true
            text: root.installed ? "Instalada ✓" : "Una sola vez: instala la extensión en Chrome, Chromium o Brave."
            font.weight: Font.DemiBold
            wrapMode: Text.Wrap
        }
        OButton {
            visible: root.installed
            implicitHeight: 26
            text: root.again ? "Ocultar los pasos" : "Ver los pasos"
            onClicked: root.again = !root.again
        }
    }
    ColumnLayout {
        visible: !root.installed || root.again
        spacing: Theme.space(3)

        Step {
            Layout.fillWidth: true
            number: 1
            text: "Abre la página de extensiones del navegador: pega esta dirección en la barra y pulsa Intro. Activa allí «Modo desarrollador»."

            Flow {
                Layout.fillWidth: true
                spacing: Theme.space(2)

                OButton {
                    text: "Copiar chrome://extensions"
                    iconName: "copy"
                    onClicked: root.app.installation.copy("chrome://extensions", "Dirección copiada")
                }
                OButton {
                    text: "Copiar brave://extensions"
                    iconName: "copy"
                    onClicked: root.app.installation.copy("brave://extensions", "Dirección copiada")
                }
            }
        }
        Step {
            Layout.fillWidth: true
            number: 2
            text: "Pulsa «Cargar descomprimida» y elige esta carpeta: " + root.app.installation.extensionFolder

            OButton {
                text: "Copiar la ruta de la carpeta"
                iconName: "copy"
                onClicked: root.app.installation.copy(root.app.installation.extensionFolder, "Ruta copiada")
            }
        }
        Step {
            Layout.fillWidth: true
            number: 3
            text: "Fija el icono: pulsa la pieza de puzle junto a la barra de direcciones y, al lado de Orvo Video, la chincheta. Pulsa después el icono: aquí aparecerá «Instalada ✓»."
        }
    }
    OLabel {
        objectName: "tabText"
        Layout.fillWidth: true
        secondary: true
        text: "Abre Chrome o Brave y pulsa el icono de Orvo Video para seleccionar y grabar una pestaña. Los controles y atajos de la extensión funcionan aunque cambies de pestaña."
        wrapMode: Text.Wrap
        lineHeight: 1.25
    }
    OLabel {
        objectName: "tabKeys"
        Layout.fillWidth: true
        secondary: true
        text: "En el navegador: Ctrl+Mayús+7 · Grabar / terminar     Ctrl+Mayús+8 · Pausa     Ctrl+Mayús+9 · Zoom\nSe cambian en la página de extensiones, «Combinaciones de teclas»."
        font.pixelSize: Theme.captionSize
        wrapMode: Text.Wrap
        lineHeight: 1.25
    }
}
