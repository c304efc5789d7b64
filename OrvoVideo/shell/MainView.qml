pragma ComponentBehavior: Bound

import QtQuick
import QtQuick.Controls.Basic
import Orvo.Help
import Orvo.Model
import Orvo.Recorder
import Orvo.Settings
import Orvo.Ui

/// The main window: the library beside the open project or the welcome page, over the status bar.
ApplicationWindow {
    id: root

    required property AppModel app

    /// Whether the library has a column of its own; in a narrow window, it is a drawer over the content.
    readonly property bool wide: width >= 1100
    readonly property bool previewAlone: app.hasProject && (projectPage.item?.previewAlone ?? false)
    /// The window's visibility before the preview filled the screen.
    property int before: Window.Windowed
    property bool quitting: false

    function toggleLibrary() {
        if (wide)
            remembered.libraryShown = !remembered.libraryShown
        else if (drawer.opened)
            drawer.close()
        else
            drawer.open()
    }
    function openSettings() {
        settings.active = true
        settings.item.show()
        settings.item.raise()
        settings.item.requestActivate()
    }
    /// Shows the equipment check.
    function checkEquipment(first: bool) {
        equipment.active = true
        equipment.item.first = first
        equipment.item.open()
    }
    function closeEquipment() {
        if (equipment.item)
            equipment.item.close()
    }
    function closeSpeechModels() {
        if (modelSheet.item)
            modelSheet.item.close()
    }
    /// Opens the help at the guide (0) or at "about" (1).
    function openHelp(tab: int) {
        help.active = true
        help.item.tab = tab
        help.item.show()
        help.item.raise()
        help.item.requestActivate()
    }
    /// Shows the equipment check at the first start with an empty library.
    function greet() {
        if (remembered.greeted || app.library.count > 0)
            return
        remembered.greeted = true
        checkEquipment(true)
    }
    function openRecorder() {
        recorder.active = true
        recorder.item.open()
    }
    /// Opens the notes for the speaker in a window of their own.
    function openNotes() {
        notes.active = true
        notes.item.show()
        notes.item.raise()
        notes.item.requestActivate()
    }
    function openExport(projectId: string, title: string) {
        exportSheet.active = true
        exportSheet.item.openFor(projectId, title)
    }
    function exportOpenProject() {
        app.commitTyped()
        openExport(app.project.projectId, app.project.title)
    }
    function openSpace() {
        space.active = true
        space.item.open()
    }
    function closeRecorder() {
        if (recorder.item)
            recorder.item.close()
    }
    function quit() {
        quitting = true
        close()
    }

    title: (app.queue.busy ? Math.round(app.queue.progress * 100) + " % · " : "")
        + (app.hasProject ? app.project.title + " — Orvo Video" : "Orvo Video")
    // `MainWindow` places and shows the window.
    visible: false
    color: Theme.window
    font.pixelSize: Theme.bodySize
    palette {
        window: Theme.window
        windowText: Theme.text
        base: Theme.panel
        text: Theme.text
        button: Theme.raised
        buttonText: Theme.text
        highlight: Theme.accent
        highlightedText: Theme.inkOnAccent
        placeholderText: Theme.secondaryText
    }

    onWideChanged: drawer.close()
    onPreviewAloneChanged: {
        drawer.close()
        if (previewAlone) {
            before = visibility
            showFullScreen()
        } else if (visibility === Window.FullScreen) {
            visibility = before
        }
    }
    onClosing: close => {
        const agreed = leaveWhileBusy.takeAgreement()
        if (app.busy && !agreed) {
            close.accepted = false
            leaveWhileBusy.open()
        } else if (!app.prepareToQuit()) {
            // Closing would lose the unsaved edits. The alert shows why they could not be saved.
            close.accepted = false
        } else {
            remember()
            notes.active = false
        }
        quitting = false
    }

    // Saves the widths of the columns for the next run.
    function remember() {
        remembered.columns = columns.saveState()
    }

    FocusFollower {
        window: root
    }
    Remembered {
        id: remembered

        category: "window"
        property bool libraryShown: true
        property bool inspectorShown: true
        property bool greeted: false
        property var columns
    }
    Component.onCompleted: {
        if (remembered.columns)
            columns.restoreState(remembered.columns)
    }

    menuBar: MainMenu {
        visible: !root.previewAlone
        app: root.app
        libraryShown: root.wide ? remembered.libraryShown : drawer.opened
        inspectorShown: remembered.inspectorShown
        onLibraryToggled: root.toggleLibrary()
        onInspectorToggled: remembered.inspectorShown = !remembered.inspectorShown
        onSettingsWanted: root.openSettings()
        onRecorderWanted: root.openRecorder()
        onQuitWanted: root.quit()
        onExportWanted: root.exportOpenProject()
        onSpaceWanted: root.openSpace()
        onZoomWanted: projectPage.item?.addZoom()
        onKeysWanted: projectPage.item?.showKeys()
        onHistoryWanted: projectPage.item?.showHistory()
        onEquipmentWanted: root.checkEquipment(false)
        onHelpWanted: tab => root.openHelp(tab)
    }

    SplitView {
        id: columns

        anchors.fill: parent
        orientation: Qt.Horizontal
        handle: Rectangle {
            implicitWidth: 5
            color: "transparent"

            Rectangle {
                anchors.horizontalCenter: parent.horizontalCenter
                width: 1
                height: parent.height
                color: parent.SplitHandle.pressed || parent.SplitHandle.hovered ? Theme.accentInk : Theme.line
            }
        }

        Loader {
            SplitView.preferredWidth: 264
            SplitView.minimumWidth: 220
            // Limits a width stored from a larger window, so that the editor has enough room.
            SplitView.maximumWidth: Math.max(220, Math.min(400, columns.width - 760))
            clip: true
            active: root.wide && remembered.libraryShown && !root.previewAlone
            visible: active
            sourceComponent: librarySidebar
        }
        Item {
            SplitView.fillWidth: true
            clip: true

            Loader {
                anchors.fill: parent
                active: !root.app.hasProject
                sourceComponent: WelcomeView {
                    app: root.app
                    libraryReachable: !root.wide || !remembered.libraryShown
                    onLibraryToggled: root.toggleLibrary()
                    onRecorderWanted: root.openRecorder()
                }
            }
            Loader {
                id: projectPage

                anchors.fill: parent
                // Created in advance, asynchronously, so that the first project opens as fast as later ones.
                active: root.app.hasProject || ahead.done
                asynchronous: !root.app.hasProject
                visible: root.app.hasProject
                sourceComponent: ProjectView {
                    app: root.app
                    libraryReachable: !root.wide || !remembered.libraryShown
                    inspectorShown: remembered.inspectorShown
                    onLibraryToggled: root.toggleLibrary()
                    onInspectorToggled: remembered.inspectorShown = !remembered.inspectorShown
                    onSettingsWanted: root.openSettings()
                    onExportWanted: root.exportOpenProject()
                }
            }
            DonePanel {
                anchors.right: parent.right
                anchors.bottom: parent.bottom
                anchors.margins: Theme.space(4)
                app: root.app
            }
            DropZones {
                anchors.fill: parent
                app: root.app
            }
        }
    }

    Remembered {
        id: transcription

        category: "transcription"
        property string model: "base"
        property bool careful: false
        property bool chosen: false
        Component.onCompleted: {
            const rememberedCare = careful // Read first: `onSettingsChanged` overwrites all of them.
            const wasChosen = chosen
            root.app.transcription.speechModel = model
            root.app.transcription.careful = rememberedCare
            root.app.transcription.asksForModel = !wasChosen
        }
    }
    Connections {
        target: root.app.transcription

        function onSettingsChanged() {
            transcription.model = root.app.transcription.speechModel
            transcription.careful = root.app.transcription.careful
            transcription.chosen = !root.app.transcription.asksForModel
        }
        function onModelWanted() {
            modelSheet.active = true
            modelSheet.item.open()
        }
    }
    Loader {
        id: recorder

        active: false
        sourceComponent: RecordingView {
            parent: root.Overlay.overlay
            app: root.app
            onClosed: recorder.active = false // Closes its microphone and camera.
            onNotesWanted: root.openNotes()
        }
    }
    Loader {
        id: notes

        active: false
        sourceComponent: NotesWindow {}
    }
    Loader {
        id: help

        active: false
        sourceComponent: HelpWindow {
            app: root.app
        }
    }
    Loader {
        id: modelSheet

        active: false
        sourceComponent: SpeechModelSheet {
            parent: root.Overlay.overlay
            app: root.app
            onClosed: modelSheet.active = false
        }
    }
    Loader {
        id: equipment

        active: false
        sourceComponent: EquipmentView {
            parent: root.Overlay.overlay
            app: root.app
            onClosed: equipment.active = false // Closes its microphone.
            onSettingsWanted: tab => {
                close()
                root.openSettings()
                settings.item.tab = tab
            }
            onTabWanted: {
                close()
                root.app.recorder.capture.mode = "tab"
                root.openRecorder()
            }
        }
    }
    Loader {
        id: exportSheet

        active: false
        sourceComponent: ExportSheet {
            parent: root.Overlay.overlay
            app: root.app
        }
    }
    Loader {
        id: space

        active: false
        sourceComponent: SpaceView {
            parent: root.Overlay.overlay
            app: root.app
            onClosed: space.active = false
        }
    }
    Connections {
        target: root.app.care

        function onTrashQuestion(projectIds: list<string>, text: string) {
            trashQuestion.projects = projectIds
            trashQuestion.message = text
            trashQuestion.open()
        }
    }
    Connections {
        target: root.app.recorder

        function onSaved() {
            projectPage.item?.editTitle()
        }
    }
    Loader {
        id: settings

        active: false
        sourceComponent: SettingsWindow {
            app: root.app
        }
    }

    Timer {
        id: ahead

        property bool done: false

        interval: 100
        running: root.app.libraryListed
        onTriggered: done = true
    }

    footer: StatusBar {
        visible: !root.previewAlone
        app: root.app
        timeline: projectPage.item?.timeline ?? null
    }

    Component {
        id: librarySidebar

        LibrarySidebar {
            app: root.app
            onProjectChosen: drawer.close()
            onSettingsWanted: root.openSettings()
            onExportWanted: (projectId, title) => {
                drawer.close()
                root.openExport(projectId, title)
            }
            onSpaceWanted: {
                drawer.close()
                root.openSpace()
            }
            onRecorderWanted: {
                drawer.close()
                root.openRecorder()
            }
        }
    }

    Drawer {
        id: drawer

        y: root.menuBar.height
        width: 280
        height: root.height - root.menuBar.height - root.footer.height
        dim: true
        interactive: !root.wide
        padding: 0

        background: Rectangle {
            color: Theme.panel
        }
        Overlay.modal: Rectangle {
            color: Theme.shade
        }
        Loader {
            anchors.fill: parent
            active: !root.wide
            sourceComponent: librarySidebar
        }
    }

    Alert {
        objectName: "errorAlert"

        readonly property bool asks: root.app.recovery.errorIsLostTracks

        title: asks ? "Falta una parte de la grabación" : "Algo no ha ido bien"
        message: root.app.errorMessage
        shown: root.app.errorMessage !== ""
        acceptText: asks ? "Seguir sin: " + root.app.recovery.lostTracks : "Aceptar"
        rejectText: asks ? "Ahora no" : ""
        onAccepted: {
            const goesOn = asks
            root.app.clearError()
            if (goesOn)
                root.app.recovery.continueWithoutLost()
        }
        onRejected: root.app.clearError()
    }
    Alert {
        id: trashQuestion

        property var projects: []

        title: "¿Mover a la papelera?"
        acceptText: "Mover a la papelera"
        rejectText: "Conservar"
        destructive: true
        onAccepted: root.app.care.moveToTrashAgreed(projects)
    }
    LeaveAlert {
        id: leaveWhileBusy

        app: root.app
        onLeaving: root.close()
    }
}
