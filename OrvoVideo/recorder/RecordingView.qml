pragma ComponentBehavior: Bound

import QtQuick
import QtQuick.Controls.Basic
import QtQuick.Layouts
import Orvo.Model
import Orvo.Ui

/// Prepares a recording: its sources and options.
Popup {
    id: root

    required property AppModel app
    readonly property CaptureChoice choice: app.recorder.capture
    readonly property var modes: ["screen", "window", "region", "tab"]
    readonly property bool isTab: choice.mode === "tab"
    readonly property var heights: [720, 1080, 1440, 2160]
    readonly property var rates: [30, 60]

    property bool recording: false

    signal notesWanted()

    function record() {
        recording = true
        close()
        recording = false
        app.startRecording()
    }

    anchors.centerIn: parent
    width: Math.min(560, (parent ? parent.width : 560) - Theme.space(8))
    height: Math.min(implicitHeight, (parent ? parent.height : 800) - Theme.space(6))
    modal: true
    focus: true
    padding: Theme.space(6)
    rightPadding: Theme.space(3)
    closePolicy: Popup.CloseOnEscape
    onAboutToShow: choice.loadSources()
    // Without a recording, ends the desktop's share.
    onAboutToHide: {
        if (!recording)
            choice.release()
    }
    onOpened: recordButton.forceActiveFocus(Qt.TabFocusReason)

    background: Rectangle {
        color: Theme.panel
        radius: Theme.panelRadius
        border.color: Theme.line
    }
    Overlay.modal: Rectangle {
        color: Theme.shade
    }

    Connections {
        target: root.choice

        function onModeChanged() {
            root.choice.loadSources()
        }
    }
    Timer {
        interval: 2000
        repeat: true
        running: root.visible
        onTriggered: root.choice.loadSources()
    }

    contentItem: ColumnLayout {
        spacing: Theme.space(4)
        Accessible.role: Accessible.Dialog
        Accessible.name: "Nueva grabación"
        // Receives the keys that the focused control does not use.
        Keys.onReturnPressed: recordButton.click()
        Keys.onEnterPressed: recordButton.click()

        ColumnLayout {
            Layout.rightMargin: Theme.space(3)
            spacing: Theme.space(1)

            OLabel {
                text: "Nueva grabación"
                font.pixelSize: Theme.largeTitleSize
                font.weight: Font.Bold
                Accessible.role: Accessible.Heading
            }
            OLabel {
                secondary: true
                text: "Elige qué quieres explicar."
            }
        }
        ScrollView {
            id: scroll

            Layout.fillWidth: true
            Layout.fillHeight: true
            implicitHeight: form.implicitHeight
            contentWidth: availableWidth
            rightPadding: Theme.space(3)
            ScrollBar.vertical: OScrollBar {
                parent: scroll
                x: scroll.width - width
                height: scroll.height
            }

            ColumnLayout {
                id: form

                width: scroll.availableWidth
                spacing: Theme.space(3)

                OSegmented {
                    objectName: "mode"
                    Layout.fillWidth: true
                    name: "Origen"
                    model: ["Pantalla", "Ventana", "Zona", "Pestaña"]
                    currentIndex: Math.max(0, root.modes.indexOf(root.choice.mode))
                    onActivated: index => root.choice.mode = root.modes[index]
                }
                SourceChoice {
                    Layout.fillWidth: true
                    visible: !root.isTab
                    choice: root.choice
                }
                TabAssistant {
                    Layout.fillWidth: true
                    visible: root.isTab
                    app: root.app
                }
                RowLayout {
                    visible: !root.isTab
                    spacing: Theme.space(3)

                    OLabel {
                        Layout.preferredWidth: 84
                        text: "Resolución"
                    }
                    OComboBox {
                        objectName: "resolution"
                        Layout.fillWidth: true
                        name: "Resolución"
                        model: ["720p", "1080p", "1440p", "4K"]
                        currentIndex: root.heights.indexOf(root.app.options.height)
                        onActivated: index => root.app.options.height = root.heights[index]
                    }
                    OLabel {
                        text: "Fluidez"
                    }
                    OComboBox {
                        objectName: "rate"
                        Layout.fillWidth: true
                        name: "Fluidez"
                        model: ["30 fps", "60 fps"]
                        currentIndex: Math.max(0, root.rates.indexOf(root.app.options.fps))
                        onActivated: index => root.app.options.fps = root.rates[index]
                    }
                }
                Rectangle {
                    Layout.fillWidth: true
                    Layout.preferredHeight: 1
                    visible: !root.isTab
                    color: Theme.line
                }

                CaptureDevices {
                    id: captureDevices
                }
                MicrophoneChoice {
                    Layout.fillWidth: true
                    visible: !root.isTab
                    app: root.app
                    devices: captureDevices
                    listening: root.visible && !root.isTab
                }
                OSwitch {
                    objectName: "systemAudio"
                    Layout.fillWidth: true
                    visible: !root.isTab
                    text: "Grabar audio del contenido"
                    checked: root.app.options.systemAudio
                    onToggled: root.app.options.systemAudio = checked
                }
                OComboBox {
                    objectName: "output"
                    Layout.fillWidth: true
                    visible: !root.isTab && root.app.options.systemAudio && count > 2
                    name: "Salida"
                    textRole: "label"
                    valueRole: "id"
                    model: captureDevices.withChosen(captureDevices.outputs, root.app.options.systemAudioDevice)
                    currentIndex: captureDevices.rowOf(model, root.app.options.systemAudioDevice)
                    onActivated: root.app.options.systemAudioDevice = currentValue
                }
                CameraChoice {
                    Layout.fillWidth: true
                    visible: !root.isTab
                    app: root.app
                    devices: captureDevices
                    // A recording needs the device exclusively.
                    watching: root.visible && !root.isTab && !root.app.recorder.capturing
                }
                RowLayout {
                    visible: !root.isTab && root.choice.pointerNote !== ""
                    spacing: Theme.space(2)

                    OIcon {
                        Layout.alignment: Qt.AlignTop
                        name: "info"
                        color: Theme.secondaryText
                    }
                    OLabel {
                        objectName: "pointerNote"
                        Layout.fillWidth: true
                        secondary: true
                        text: root.choice.pointerNote
                        font.pixelSize: Theme.captionSize
                        wrapMode: Text.Wrap
                        lineHeight: 1.2
                    }
                }
            }
        }
        OLabel {
            id: shortcutTexts

            readonly property ShortcutManager shortcuts: root.app.shortcuts

            function compose(): string {
                const entry = (action, text) => (Wording.keys(shortcuts.text(action)) + " · " + text).replace(/ /g, "\u00a0") // Non-breaking.
                return [entry(ShortcutManager.Record, "Grabar / terminar"), entry(ShortcutManager.Pause, "Pausa"),
                    entry(ShortcutManager.Zoom, "Zoom")].join("     ") + "\nPuedes cambiar los atajos en Ajustes."
            }

            objectName: "shortcuts"
            visible: !root.isTab
            Layout.fillWidth: true
            Layout.rightMargin: Theme.space(3)
            secondary: true
            text: compose()
            font.pixelSize: Theme.captionSize
            wrapMode: Text.Wrap
            lineHeight: 1.25

            Connections {
                target: shortcutTexts.shortcuts

                function onBindingsChanged() {
                    shortcutTexts.text = shortcutTexts.compose()
                }
            }
        }
        RowLayout {
            Layout.rightMargin: Theme.space(3)
            spacing: Theme.space(2)

            OButton {
                objectName: "notes"
                visible: !root.isTab
                implicitHeight: Theme.prominentHeight
                text: "Notas para ti…"
                iconName: "message-square-text"
                onClicked: root.notesWanted()
            }
            Item {
                Layout.fillWidth: true
            }
            OButton {
                implicitHeight: Theme.prominentHeight
                text: "Cancelar"
                onClicked: root.close()
            }
            OButton {
                id: recordButton

                objectName: "record"
                prominent: true
                text: root.isTab ? "Abrir extensión" : "Grabar"
                iconName: root.isTab ? "folder-open" : "circle-dot"
                enabled: root.app.idle
                // The steps stay open beside the browser.
                onClicked: root.isTab ? root.app.startRecording() : root.record()
            }
        }
    }
}
