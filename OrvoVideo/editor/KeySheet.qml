pragma ComponentBehavior: Bound

import QtQuick
import QtQuick.Controls.Basic
import QtQuick.Layouts
import Orvo.Ui

/// The sheet of all keys of the editor.
Popup {
    id: root

    modal: true
    focus: true
    padding: Theme.space(6)
    closePolicy: Popup.CloseOnEscape | Popup.CloseOnPressOutside
    height: Math.min(implicitHeight, (Overlay.overlay?.height ?? implicitHeight) - Theme.space(8))

    background: Rectangle {
        color: Theme.panel
        border.color: Theme.line
        radius: Theme.panelRadius
    }
    Overlay.modal: Rectangle {
        color: Theme.shade
    }
    contentItem: ColumnLayout {
        spacing: Theme.space(3)
        Accessible.role: Accessible.Dialog
        Accessible.name: "Teclas"
        Keys.onUpPressed: page.scroll(-1)
        Keys.onDownPressed: page.scroll(1)

        RowLayout {
            OLabel {
                Layout.fillWidth: true
                text: "Teclas"
                font.pixelSize: Theme.titleSize
                font.weight: Font.Bold
            }
            OIconButton {
                iconName: "x"
                text: "Cerrar"
                focus: true
                onClicked: root.close()
            }
        }
        Flickable {
            id: page

            /// Fits a key and the longest text, some fifty characters.
            readonly property real columnWidth: 120 + Theme.space(3) + 50 * metrics.averageCharacterWidth
            readonly property real room: (Overlay.overlay?.width ?? 0) - Theme.space(8) - 2 * root.padding - Theme.space(4)
            readonly property bool fitsTwo: 2 * columnWidth + Theme.space(10) <= room

            /// Scrolls by a page less one line; `direction` is 1 or -1.
            function scroll(direction) {
                contentY = Math.max(0, Math.min(contentHeight - height, contentY + direction * (height - 30)))
            }

            Layout.fillWidth: true
            Layout.fillHeight: true
            implicitWidth: grid.implicitWidth + Theme.space(4)
            implicitHeight: grid.implicitHeight
            contentHeight: grid.implicitHeight
            boundsBehavior: Flickable.StopAtBounds
            clip: true

            ScrollBar.vertical: OScrollBar {}

            FontMetrics {
                id: metrics

                font.pixelSize: Theme.bodySize
            }

            GridLayout {
                id: grid

                columns: page.fitsTwo ? 2 : 1
                columnSpacing: Theme.space(10)
                rowSpacing: Theme.space(5)

                Repeater {
                    model: ["Reproducir", "Moverse", "Editar", "Texto", "Línea de tiempo", "Biblioteca", "Notas"]

                    ColumnLayout {
                        id: group

                        required property string modelData

                        Layout.alignment: Qt.AlignTop
                        // The tallest group stands beside the two that follow it.
                        Layout.rowSpan: page.fitsTwo && modelData === "Línea de tiempo" ? 2 : 1
                        spacing: Theme.space(1.5)

                        OCaption {
                            text: group.modelData.toUpperCase()
                        }
                        Repeater {
                            model: Commands.sheet.filter(entry => entry.group === group.modelData)

                            RowLayout {
                                id: entry

                                required property var modelData

                                spacing: Theme.space(3)

                                Rectangle {
                                    implicitWidth: Math.max(keys.implicitWidth + 12, 120)
                                    implicitHeight: 24
                                    radius: 6
                                    color: Theme.raised
                                    border.color: Theme.line

                                    OLabel {
                                        id: keys

                                        anchors.centerIn: parent
                                        text: entry.modelData.keys
                                        font.weight: Font.Medium
                                    }
                                }
                                OLabel {
                                    text: entry.modelData.text
                                }
                            }
                        }
                    }
                }
            }
        }
    }
}
