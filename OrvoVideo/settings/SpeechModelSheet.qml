pragma ComponentBehavior: Bound

import QtQuick
import QtQuick.Controls.Basic
import QtQuick.Layouts
import Orvo.Model
import Orvo.Ui

/// Asks for the speech model before the first transcription, and shows how long each one takes.
Popup {
    id: root

    required property AppModel app
    property string chosen: ""

    function accept() {
        close()
        app.transcription.transcribeWith(chosen || models.proposed)
    }

    anchors.centerIn: parent
    width: Math.min(520, (parent ? parent.width : 520) - Theme.space(8))
    height: Math.min(implicitHeight, (parent ? parent.height : 800) - Theme.space(6))
    modal: true
    focus: true
    padding: Theme.space(6)
    closePolicy: Popup.CloseOnEscape
    onAboutToShow: models.measure()
    onOpened: transcribeButton.forceActiveFocus(Qt.TabFocusReason)

    background: Rectangle {
        color: Theme.panel
        radius: Theme.panelRadius
        border.color: Theme.line
    }
    Overlay.modal: Rectangle {
        color: Theme.shade
    }

    SpeechModelList {
        id: models
    }

    contentItem: ColumnLayout {
        spacing: Theme.space(4)
        Accessible.role: Accessible.Dialog
        Accessible.name: "Modelo de voz"

        ColumnLayout {
            spacing: Theme.space(1)

            OLabel {
                text: "¿Con qué modelo de voz?"
                font.pixelSize: Theme.titleSize
                font.weight: Font.Bold
                Accessible.role: Accessible.Heading
            }
            OLabel {
                objectName: "measuring"
                Layout.fillWidth: true
                secondary: true
                text: models.measuring ? "Midiendo lo rápido que es este equipo…" : "Todo se reconoce en este equipo: el sonido no sale de él. Se cambia cuando quieras en «Ajustes»."
                wrapMode: Text.Wrap
            }
        }
        ColumnLayout {
            spacing: Theme.space(1)

            Repeater {
                model: models

                AbstractButton {
                    id: row

                    required property string name
                    required property string description
                    required property string cost
                    required property string download
                    readonly property bool proposed: name === models.proposed

                    Layout.fillWidth: true
                    objectName: "model-" + name
                    implicitHeight: content.implicitHeight + Theme.space(4)
                    focusPolicy: Qt.StrongFocus
                    checkable: true
                    checked: name === (root.chosen || models.proposed)
                    onClicked: {
                        root.chosen = name
                        checked = Qt.binding(() => name === (root.chosen || models.proposed))
                    }
                    Accessible.role: Accessible.RadioButton
                    Accessible.name: [description, proposed ? "recomendado" : "", cost, download ? "descarga " + download : "instalado"].filter(part => part).join(", ")

                    background: Rectangle {
                        radius: Theme.radius
                        color: row.checked || row.hovered ? Theme.raised : "transparent"
                        border.width: row.checked ? 2 : 1
                        border.color: row.checked ? Theme.accentInk : Theme.line

                        FocusRing {
                            shown: row.visualFocus
                        }
                    }
                    contentItem: Item {
                        RowLayout {
                            id: content

                            anchors.verticalCenter: parent.verticalCenter
                            x: Theme.space(3)
                            width: parent.width - Theme.space(6)
                            spacing: Theme.space(3)

                            OLabel {
                                text: row.description
                                font.weight: Font.Medium
                            }
                            OLabel {
                                visible: row.proposed
                                text: "Recomendado"
                                color: Theme.accentInk
                                font.pixelSize: Theme.captionSize
                                font.weight: Font.DemiBold
                            }
                            Item {
                                Layout.fillWidth: true
                            }
                            ColumnLayout {
                                spacing: 0

                                OLabel {
                                    Layout.alignment: Qt.AlignRight
                                    text: row.cost
                                    font: Theme.digits(Theme.captionSize)
                                }
                                OLabel {
                                    Layout.alignment: Qt.AlignRight
                                    secondary: true
                                    text: row.download ? "Descarga: " + row.download : "Instalado"
                                    font: Theme.digits(Theme.captionSize)
                                }
                            }
                        }
                    }
                }
            }
        }
        RowLayout {
            spacing: Theme.space(2)

            Item {
                Layout.fillWidth: true
            }
            OButton {
                implicitHeight: Theme.prominentHeight
                text: "Cancelar"
                onClicked: root.close()
            }
            OButton {
                id: transcribeButton

                prominent: true
                text: "Transcribir"
                enabled: root.app.idle
                onClicked: root.accept()
            }
        }
    }
}
