pragma ComponentBehavior: Bound

import QtQuick
import QtQuick.Controls.Basic
import QtQuick.Layouts
import Orvo.Model
import Orvo.Ui

/// The content of the settings window.
Item {
    id: root

    required property AppModel app
    property alias tab: tabs.currentIndex

    ColumnLayout {
        anchors.fill: parent
        spacing: 0

        OSegmented {
            id: tabs

            objectName: "settingsTabs"
            Layout.alignment: Qt.AlignHCenter
            Layout.topMargin: Theme.space(4)
            name: "Ajustes"
            model: ["General", "Atajos"]
        }
        StackLayout {
            Layout.fillWidth: true
            Layout.fillHeight: true
            Layout.topMargin: Theme.space(1)
            currentIndex: tabs.currentIndex

            ScrollView {
                id: general

                contentWidth: availableWidth
                ScrollBar.vertical: OScrollBar {
                    parent: general
                    x: general.width - width
                    height: general.height
                }

                ColumnLayout {
                    width: general.availableWidth
                    spacing: Theme.space(6)

                    PublishingGroup {
                        Layout.fillWidth: true
                        Layout.margins: Theme.space(5)
                        Layout.bottomMargin: 0
                        app: root.app
                    }
                    DriveGroup {
                        objectName: "drive"
                        visible: root.app.server.usesDrive
                        Layout.fillWidth: true
                        Layout.margins: Theme.space(5)
                        Layout.topMargin: 0
                        Layout.bottomMargin: 0
                        app: root.app
                    }
                    SettingsGroup {
                        Layout.fillWidth: true
                        Layout.margins: Theme.space(5)
                        Layout.topMargin: 0
                        Layout.bottomMargin: 0
                        title: "Transcripción"

                        RowLayout {
                            spacing: Theme.space(3)

                            OLabel {
                                text: "Modelo de voz"
                            }
                            OComboBox {
                                objectName: "speechModel"
                                Layout.fillWidth: true
                                name: "Modelo de voz"
                                textRole: "text"
                                valueRole: "name"
                                model: SpeechModelList {
                                    id: models
                                }
                                currentIndex: models.rowOf(root.app.transcription.speechModel)
                                onActivated: {
                                    root.app.transcription.speechModel = currentValue
                                    root.app.transcription.asksForModel = false
                                }
                                popup.onAboutToShow: models.refresh()
                            }
                        }
                        OLabel {
                            objectName: "modelCost"
                            readonly property int row: models.rowOf(root.app.transcription.speechModel)

                            Layout.fillWidth: true
                            visible: row >= 0
                            secondary: true
                            text: row < 0 ? "" : models.data(models.index(row, 0), SpeechModelList.CostRole)
                            font.pixelSize: Theme.captionSize
                        }
                        OSwitch {
                            objectName: "careful"
                            Layout.fillWidth: true
                            text: "Reconocer con más cuidado"
                            checked: root.app.transcription.careful
                            onToggled: root.app.transcription.careful = checked
                        }
                        OLabel {
                            Layout.fillWidth: true
                            secondary: true
                            text: "Con más cuidado se comparan varias lecturas de lo que se oye: tarda hasta el doble y se equivoca menos. Todo se reconoce en este equipo: el sonido no sale de él. También puedes poner tus propios modelos en su carpeta."
                            font.pixelSize: Theme.captionSize
                            wrapMode: Text.Wrap
                            lineHeight: 1.25
                        }
                        OButton {
                            text: "Abrir carpeta de modelos"
                            iconName: "folder-open"
                            onClicked: root.app.installation.openModelFolder()
                        }
                    }
                    ToolsGroup {
                        Layout.fillWidth: true
                        Layout.margins: Theme.space(5)
                        Layout.topMargin: 0
                        Layout.bottomMargin: 0
                        app: root.app
                    }
                    PermissionsGroup {
                        Layout.fillWidth: true
                        Layout.margins: Theme.space(5)
                        Layout.topMargin: 0
                        Layout.bottomMargin: 0
                        app: root.app
                    }
                    ExtensionGroup {
                        Layout.fillWidth: true
                        Layout.margins: Theme.space(5)
                        Layout.topMargin: 0
                        app: root.app
                    }
                }
            }
            ColumnLayout {
                ShortcutsGroup {
                    Layout.fillWidth: true
                    Layout.margins: Theme.space(5)
                    shortcuts: root.app.shortcuts
                }
                Item {
                    Layout.fillHeight: true
                }
            }
        }
    }
}
