import QtQuick
import QtQuick.Layouts
import Orvo.Model
import Orvo.Editor
import Orvo.Ui

/// The open project: a bar with its title and its commands, above the editor.
ColumnLayout {
    id: root

    required property AppModel app
    property bool libraryReachable: false
    property bool inspectorShown: true
    readonly property alias timeline: editor.timeline
    readonly property alias previewAlone: editor.previewAlone

    /// When it changes, the editor takes the focus.
    readonly property string projectId: app.project.projectId

    signal libraryToggled()
    signal inspectorToggled()
    signal settingsWanted()
    signal exportWanted()

    function editTitle() {
        title.forceActiveFocus(Qt.OtherFocusReason)
        title.selectAll()
    }
    function addZoom() {
        editor.addZoom()
    }
    function showHistory() {
        historyPanel.open()
    }
    function showKeys() {
        editor.showKeys()
    }

    spacing: 0
    onVisibleChanged: editor.takeKeyboard()
    onProjectIdChanged: editor.takeKeyboard()
    Component.onCompleted: editor.takeKeyboard()

    Connections {
        target: root.app

        function onCommitWanted() {
            (root.Window.activeFocusItem as OEntry)?.commit()
        }
    }

    RowLayout {
        visible: !root.previewAlone
        Layout.fillWidth: true
        Layout.leftMargin: Theme.space(3)
        Layout.rightMargin: Theme.space(4)
        Layout.preferredHeight: 56
        spacing: Theme.space(2)

        OIconButton {
            visible: root.libraryReachable
            iconName: "panel-left"
            command: Commands.ToggleLibrary
            onClicked: root.libraryToggled()
        }
        OEntry {
            id: title

            objectName: "title"
            Layout.fillWidth: true
            Layout.maximumWidth: Math.max(160, contentWidth + leftPadding + rightPadding + Theme.space(3))
            plain: true
            name: "Título"
            shown: root.app.project.title
            enabled: !root.app.recorder.isRecording
            font.pixelSize: Theme.headlineSize
            font.weight: Font.DemiBold
            onCommitted: text => root.app.editing.rename(text)
            onAccepted: focus = false
        }
        OLabel {
            objectName: "length"
            text: Wording.time(root.app.project.playableDuration)
            font: Theme.digits(Theme.headlineSize)
            Accessible.name: "Duración " + text
        }
        OLabel {
            objectName: "recordedLength"
            visible: text !== "de " + resultText
            readonly property string resultText: Wording.time(root.app.project.playableDuration)
            secondary: true
            text: "de " + Wording.time(root.app.project.duration)
            font: Theme.digits(Theme.captionSize)
            Accessible.name: "Grabación: " + Wording.time(root.app.project.duration)
        }
        Item {
            Layout.fillWidth: true
        }
        OIconButton {
            objectName: "undo"
            iconName: "undo-2"
            command: Commands.Undo
            text: Commands.title(command) + (root.app.canUndo ? ": " + root.app.editing.undoName : "")
            enabled: root.app.canUndo
            onClicked: root.app.undo()
        }
        OIconButton {
            objectName: "redo"
            iconName: "redo-2"
            command: Commands.Redo
            text: Commands.title(command) + (root.app.canRedo ? ": " + root.app.editing.redoName : "")
            enabled: root.app.canRedo
            onClicked: root.app.redo()
        }
        OIconButton {
            id: historyButton

            objectName: "history"
            iconName: "history"
            command: Commands.ShowHistory
            enabled: root.app.canUndo || root.app.canRedo
            onClicked: historyPanel.opened ? historyPanel.close() : historyPanel.open()

            HistoryPanel {
                id: historyPanel

                objectName: "historyPanel"
                x: parent.width - width
                y: parent.height + Theme.space(1)
                app: root.app
            }
        }
        OIconButton {
            iconName: "panel-right"
            command: Commands.ToggleInspector
            text: root.inspectorShown ? "Ocultar el inspector" : Commands.title(command)
            onClicked: root.inspectorToggled()
        }
        OButton {
            objectName: "export"
            Layout.leftMargin: Theme.space(2)
            implicitHeight: Theme.prominentHeight
            text: Commands.title(Commands.ExportVideo)
            iconName: "upload"
            enabled: !root.app.recorder.isRecording
            onClicked: root.exportWanted()
        }
        OButton {
            objectName: "publishNow"
            prominent: true
            text: "Publicar"
            iconName: "globe"
            enabled: !root.app.recorder.isRecording
            // Without a server, the button shows what is missing.
            onClicked: root.app.server.serverURL.trim() !== "" ? root.app.publish() : root.settingsWanted()
        }
    }
    Rectangle {
        visible: !root.previewAlone
        Layout.fillWidth: true
        implicitHeight: 1
        color: Theme.line
    }
    RowLayout {
        Layout.fillWidth: true
        Layout.margins: Theme.space(3)
        Layout.bottomMargin: 0
        visible: root.app.recorder.isRecording
        spacing: Theme.space(3)

        OIcon {
            name: "info"
            color: Theme.accentInk
        }
        OLabel {
            Layout.fillWidth: true
            text: "Mientras se graba no se puede editar. Pulsa «Terminar» para editar este vídeo."
            wrapMode: Text.Wrap
        }
    }
    EditorView {
        id: editor

        Layout.fillWidth: true
        Layout.fillHeight: true
        Layout.margins: Theme.space(3)
        focus: true
        enabled: !root.app.recorder.isRecording
        app: root.app
        inspectorShown: root.inspectorShown
        onSettingsWanted: root.settingsWanted()
        onInspectorWanted: {
            if (!root.inspectorShown)
                root.inspectorToggled()
        }
    }
}
