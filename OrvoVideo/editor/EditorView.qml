pragma ComponentBehavior: Bound

import QtCore
import QtQuick
import QtQuick.Controls.Basic
import Orvo.Model
import Orvo.Ui

/// The editor of the open project: preview and timeline, and the inspector beside them. Its keys work wherever the keyboard
/// is in it, unless what has the keyboard uses them itself.
FocusScope {
    id: root

    required property AppModel app
    property bool inspectorShown: true
    /// "text", "effects" or "share".
    property alias section: inspector.section
    readonly property alias timeline: timelineView.canvas

    /// The inspector has to be seen now.
    signal inspectorWanted()
    signal settingsWanted()

    /// Gives the keyboard to the timeline, where every key of the editor works.
    function takeKeyboard() {
        if (visible && enabled && !editorCommands.isTyping())
            timelineView.canvas.forceActiveFocus(Qt.OtherFocusReason)
    }

    onEnabledChanged: takeKeyboard()
    Keys.onPressed: event => event.accepted = editorCommands.press(event.key, event.modifiers)

    EditorCommands {
        id: editorCommands

        model: root.app
        timeline: timelineView.canvas
        onTextFieldWanted: {
            root.inspectorWanted()
            inspector.editOverlayText()
        }
        onSearchWanted: {
            root.inspectorWanted()
            inspector.search()
        }
        onMatchWanted: backwards => inspector.nextMatch(backwards)
        onSheetWanted: keySheet.open()
    }

    Settings {
        id: remembered

        category: "editor"
        property var columns
        property var rows
    }
    Component.onCompleted: {
        if (remembered.columns)
            columns.restoreState(remembered.columns)
        if (remembered.rows)
            rows.restoreState(remembered.rows)
    }

    component Handle: Rectangle {
        implicitWidth: 8
        implicitHeight: 8
        color: "transparent"

        Rectangle {
            anchors.centerIn: parent
            width: parent.width < parent.height ? 2 : 36
            height: parent.width < parent.height ? 36 : 2
            radius: 1
            color: parent.SplitHandle.pressed || parent.SplitHandle.hovered ? Theme.accentInk : Theme.line
        }
    }

    SplitView {
        id: columns

        anchors.fill: parent
        orientation: Qt.Horizontal
        handle: Handle {}
        onResizingChanged: {
            if (!resizing)
                remembered.columns = saveState()
        }

        SplitView {
            id: rows

            SplitView.fillWidth: true
            SplitView.minimumWidth: 420
            orientation: Qt.Vertical
            handle: Handle {}
            onResizingChanged: {
                if (!resizing)
                    remembered.rows = saveState()
            }

            PreviewView {
                SplitView.fillHeight: true
                SplitView.minimumHeight: 180
                app: root.app
                commands: editorCommands
            }
            TimelineView {
                id: timelineView

                SplitView.preferredHeight: Math.min(wholeHeight, root.height * 0.5)
                SplitView.minimumHeight: 190
                app: root.app
            }
        }

        InspectorView {
            id: inspector

            SplitView.preferredWidth: 340
            SplitView.minimumWidth: 280
            SplitView.maximumWidth: 560
            visible: root.inspectorShown
            app: root.app
            onSettingsWanted: root.settingsWanted()
        }
    }

    KeySheet {
        id: keySheet

        commands: editorCommands
        anchors.centerIn: Overlay.overlay
        onClosed: root.forceActiveFocus()
    }
}
