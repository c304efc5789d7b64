pragma ComponentBehavior: Bound

import QtQuick
import QtQuick.Controls.Basic
import Orvo.Model
import Orvo.Ui

/// The editor of the open project: preview and timeline, with the inspector beside them. Its keys work wherever the focus is
/// inside it, unless the focused item handles them.
FocusScope {
    id: root

    required property AppModel app
    property bool inspectorShown: true
    /// "text", "effects" or "share".
    property alias section: inspector.section
    readonly property alias timeline: timelineView.canvas
    readonly property alias previewAlone: editorCommands.previewAlone
    /// Minimum sizes of preview and timeline.
    readonly property real minWidth: 420
    readonly property real minPreview: 180

    /// Requests that the inspector be shown.
    signal inspectorWanted()
    signal settingsWanted()

    /// Focuses the timeline, where every key of the editor works.
    function takeKeyboard() {
        if (visible && enabled && !editorCommands.isTyping())
            timelineView.canvas.forceActiveFocus(Qt.OtherFocusReason)
    }

    /// Adds a zoom point at the playhead and moves the playhead into it.
    function addZoom() {
        editorCommands.addZoom()
    }
    function showKeys() {
        keySheet.open()
    }
    function showCard(kind: string, id: string) {
        inspectorWanted()
        inspector.showCard(kind, id)
        if (kind === "zoom")
            frameZoom(id)
        else
            preview.framedZoom = ""
    }
    /// Starts framing a zoom point: moves the playhead into it and lets the user choose the part to magnify.
    function frameZoom(id: string) {
        for (let row = 0; row < app.zooms.count; ++row) {
            const zoom = app.zooms.get(row)
            if (zoom.eventId !== id || app.playing)
                continue
            if (app.playhead < zoom.time || app.playhead >= zoom.time + zoom.duration)
                app.seek(Math.min(zoom.time + zoom.duration / 2, app.project.duration))
            preview.framedZoom = id
        }
    }

    // A project opens without a selection.
    Connections {
        target: root.app

        function onProjectOpened() {
            root.selectNothing()
        }
    }
    function selectNothing() {
        const none = app.selectedSpan
        none.start = none.end = 0
        app.selectedSpan = none
    }
    onEnabledChanged: {
        editorCommands.previewAlone = false
        takeKeyboard()
    }
    onVisibleChanged: editorCommands.previewAlone = false
    // The focused item may be hidden.
    onPreviewAloneChanged: previewAlone ? preview.forceActiveFocus() : takeKeyboard()
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
        onCardWanted: (kind, id) => root.showCard(kind, id)
    }

    Remembered {
        id: remembered

        category: "editor"
        property var columns
        property var rows
    }
    Component.onCompleted: {
        // `projectOpened` may have been emitted before this view existed.
        selectNothing()
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
            SplitView.minimumWidth: root.minWidth
            clip: true
            orientation: Qt.Vertical
            handle: Handle {}
            onResizingChanged: {
                if (!resizing)
                    remembered.rows = saveState()
            }

            PreviewView {
                id: preview

                SplitView.fillHeight: true
                SplitView.minimumHeight: root.minPreview
                clip: true
                app: root.app
                commands: editorCommands
            }
            TimelineView {
                id: timelineView

                onCardWanted: (kind, id) => root.showCard(kind, id)

                visible: !root.previewAlone
                SplitView.preferredHeight: Math.min(wholeHeight, root.height * 0.38)
                SplitView.minimumHeight: minHeight
                SplitView.maximumHeight: Math.max(minHeight, rows.height - root.minPreview - Theme.space(2))
                clip: true
                app: root.app
            }
        }

        InspectorView {
            id: inspector

            SplitView.preferredWidth: 340
            SplitView.minimumWidth: 300
            // Limits a width remembered from a larger window.
            SplitView.maximumWidth: Math.max(300, Math.min(560, columns.width - root.minWidth - Theme.space(2)))
            clip: true
            visible: root.inspectorShown && !root.previewAlone
            app: root.app
            onSettingsWanted: root.settingsWanted()
            onZoomWanted: editorCommands.addZoom()
            onZoomFramed: id => root.frameZoom(id)
        }
    }

    KeySheet {
        id: keySheet

        anchors.centerIn: Overlay.overlay
        onClosed: root.forceActiveFocus()
    }
}
