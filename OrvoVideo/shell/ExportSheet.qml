pragma ComponentBehavior: Bound

import QtQuick
import QtQuick.Controls.Basic
import QtQuick.Layouts
import Orvo.Model
import Orvo.Ui

/// Sets the options of an export before the user chooses the file: a preset, or size, frame rate and quality. Shows the
/// estimated time and file size.
Popup {
    id: root

    required property AppModel app
    property string projectId: ""
    property string title: ""

    readonly property ExportChoice choice: app.exports.choice
    readonly property bool isOpen: app.hasProject && app.project.projectId === projectId
    readonly property var preset: choice.presets.find(preset => preset.id === choice.preset) ?? null
    readonly property bool own: preset === null
    readonly property bool hasSubtitles: choice.preset !== "audio" && choice.preset !== "gif"
    readonly property real selected: isOpen ? Math.abs(app.selectedSpan.duration) : 0
    readonly property bool selectable: selected > 0
    readonly property bool needsSpan: preset?.needsSpan ?? false
    readonly property bool onlySelection: selectable && (needsSpan || selectionSwitch.checked)
    readonly property var estimate: {
        // Reading these values makes the binding depend on them.
        const depends = [choice.preset, choice.subtitles, app.options, app.exportQuality, app.selectedSpan, app.project]
        return visible && depends.length > 0 ? app.exports.estimate(projectId, onlySelection) : ({})
    }
    readonly property bool possible: (estimate.duration ?? 0) > 0 && (estimate.fits ?? false) && (!needsSpan || selectable)

    function openFor(projectId: string, title: string) {
        root.projectId = projectId
        root.title = title
        open()
    }
    function exportNow() {
        const selection = onlySelection
        close()
        app.exports.exportProject(projectId, selection)
    }

    anchors.centerIn: parent
    width: Math.min(480, (parent ? parent.width : 480) - Theme.space(8))
    modal: true
    focus: true
    padding: Theme.space(6)
    closePolicy: Popup.CloseOnEscape
    onOpened: exportButton.forceActiveFocus(Qt.TabFocusReason)

    background: Rectangle {
        color: Theme.panel
        radius: Theme.panelRadius
        border.color: Theme.line
    }
    Overlay.modal: Rectangle {
        color: Theme.shade
    }

    component Name: OLabel {
        secondary: true
    }

    contentItem: ColumnLayout {
        spacing: Theme.space(4)
        Accessible.role: Accessible.Dialog
        Accessible.name: "Exportar " + root.title

        ColumnLayout {
            Layout.fillWidth: true
            spacing: Theme.space(1)

            OLabel {
                text: "Exportar"
                font.pixelSize: Theme.titleSize
                font.weight: Font.Bold
                Accessible.role: Accessible.Heading
            }
            OLabel {
                Layout.fillWidth: true
                secondary: true
                text: root.title
                elide: Text.ElideRight
            }
        }
        GridLayout {
            Layout.fillWidth: true
            columns: 2
            columnSpacing: Theme.space(3)
            rowSpacing: Theme.space(2)

            Name {
                text: "Para"
            }
            OComboBox {
                readonly property var ids: [""].concat(root.choice.presets.map(preset => preset.id))

                objectName: "preset"
                Layout.fillWidth: true
                name: "Para"
                model: ["A medida"].concat(root.choice.presets.map(preset => preset.name))
                currentIndex: Math.max(ids.indexOf(root.choice.preset), 0)
                onActivated: index => root.choice.preset = ids[index]
            }
            Item {
                visible: !root.own
                implicitWidth: 1
                implicitHeight: 1
            }
            OLabel {
                visible: !root.own
                Layout.fillWidth: true
                secondary: true
                text: root.preset?.note ?? ""
                wrapMode: Text.Wrap
                font.pixelSize: Theme.captionSize
            }
            Name {
                visible: root.own
                text: "Tamaño"
            }
            OComboBox {
                readonly property var heights: [720, 1080, 1440, 2160]

                objectName: "exportHeight"
                visible: root.own
                Layout.fillWidth: true
                name: "Tamaño"
                model: ["720p", "1080p", "1440p", "4K"]
                currentIndex: heights.indexOf(root.app.options.height)
                onActivated: index => {
                    const options = root.app.options
                    options.height = heights[index]
                    root.app.options = options
                }
            }
            Name {
                visible: root.own
                text: "Fotogramas"
            }
            OComboBox {
                readonly property var rates: [30, 60]

                objectName: "exportRate"
                visible: root.own
                Layout.fillWidth: true
                name: "Fotogramas por segundo"
                model: ["30 por segundo", "60 por segundo"]
                currentIndex: rates.indexOf(root.app.options.fps)
                onActivated: index => {
                    const options = root.app.options
                    options.fps = rates[index]
                    root.app.options = options
                }
            }
            Name {
                visible: root.own
                text: "Calidad"
            }
            OComboBox {
                readonly property var qualities: ["small", "balanced", "high"]

                objectName: "exportQuality"
                visible: root.own
                Layout.fillWidth: true
                name: "Calidad"
                model: ["Menor peso", "Equilibrada", "Mayor calidad"]
                currentIndex: Math.max(qualities.indexOf(root.app.exportQuality), 0)
                onActivated: index => root.app.exportQuality = qualities[index]
            }
            Name {
                visible: root.hasSubtitles
                text: "Subtítulos"
            }
            OComboBox {
                readonly property var cues: ["words", "phrases", "none"]

                objectName: "exportSubtitles"
                visible: root.hasSubtitles
                Layout.fillWidth: true
                name: "Subtítulos"
                model: ["Palabra a palabra", "Frases", "Ninguno"]
                currentIndex: cues.indexOf(root.choice.subtitles)
                onActivated: index => root.choice.subtitles = cues[index]
            }
        }
        OSwitch {
            Layout.fillWidth: true
            visible: root.hasSubtitles && root.choice.subtitles !== "none"
            text: "Incrustados en la imagen"
            checked: root.choice.burnIn
            onToggled: {
                root.choice.burnIn = checked
                checked = Qt.binding(() => root.choice.burnIn)
            }
        }
        OSwitch {
            id: selectionSwitch

            objectName: "onlySelection"
            Layout.fillWidth: true
            visible: root.selectable && !root.needsSpan
            text: "Solo la selección · " + Wording.exactTime(root.selected)
        }
        Rectangle {
            Layout.fillWidth: true
            implicitHeight: outlook.implicitHeight + Theme.space(4)
            radius: Theme.radius
            color: Theme.raised

            OLabel {
                id: outlook

                objectName: "estimate"
                anchors.left: parent.left
                anchors.right: parent.right
                anchors.leftMargin: Theme.space(3)
                anchors.rightMargin: Theme.space(3)
                anchors.verticalCenter: parent.verticalCenter
                wrapMode: Text.Wrap
                font: Theme.digits(Theme.bodySize)
                text: {
                    if (root.needsSpan && !root.selectable)
                        return "Abre el vídeo y marca una selección en la línea de tiempo."
                    if (!((root.estimate.duration ?? 0) > 0))
                        return "No queda nada que exportar."
                    if (!root.estimate.fits)
                        return "No cabe: exporta solo una parte, o elige otro destino."
                    return "Dura " + (root.onlySelection ? Wording.exactTime(root.estimate.duration) : Wording.time(root.estimate.duration)) + " · tardará " + Wording.about(root.estimate.seconds)
                        + " · ocupará unos " + Wording.size(root.estimate.bytes)
                }
            }
        }
        RowLayout {
            Layout.alignment: Qt.AlignRight
            spacing: Theme.space(2)

            OButton {
                implicitHeight: Theme.prominentHeight
                text: "Cancelar"
                onClicked: root.close()
            }
            OButton {
                id: exportButton

                objectName: "exportNow"
                prominent: true
                text: "Exportar…"
                iconName: "upload"
                enabled: root.possible
                onClicked: root.exportNow()
            }
        }
    }
}
