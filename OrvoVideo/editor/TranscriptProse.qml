pragma ComponentBehavior: Bound

import QtQuick
import QtQuick.Controls.Basic
import Orvo.Model
import Orvo.Ui

/// The transcript as a text: the page, the bar at the marked words, and the field that corrects a word.
FocusScope {
    id: root

    required property AppModel app
    required property TranscriptCursor cursor
    property alias cutHidden: page.cutHidden

    /// The row being corrected; -1 if there is none.
    property int editedRow: -1
    /// Whether the user scrolled away, so that playback does not scroll.
    property bool away: false
    property real followedTop: -1
    property int revealedMatch: -1
    readonly property real spokenTop: {
        page.layoutCount
        return page.topOf(cursor.spokenRow)
    }
    readonly property bool spokenInView: spokenTop >= flick.contentY && spokenTop <= flick.contentY + flick.height - 24

    signal shorteningWanted()

    function limited(y: real): real {
        return Math.min(Math.max(y, 0), Math.max(0, flick.contentHeight - flick.height))
    }
    /// Scrolls the minimum distance to show a line.
    function reveal(top: real) {
        glide.stop()
        flick.contentY = limited(Math.max(Math.min(flick.contentY, top - 8), top + 32 - flick.height))
    }
    /// Scrolls line by line to keep the spoken word at a third of the height.
    function follow() {
        if (!app.playing || away || editedRow >= 0 || cursor.markedCount > 0 || cursor.spokenRow < 0)
            return
        if (spokenTop === followedTop)
            return
        followedTop = spokenTop
        glide.to = limited(spokenTop - flick.height / 3)
        glide.restart()
    }
    function edit(row: int) {
        if (row < 0)
            return
        editedRow = row
        reveal(page.topOf(row))
        field.forceActiveFocus(Qt.OtherFocusReason)
        field.selectAll()
    }
    function editNext(forward: bool) {
        field.commit()
        const next = page.nextShown(editedRow, forward)
        if (next < 0)
            return endEditing()
        cursor.place(next)
        edit(next)
    }
    function endEditing() {
        if (editedRow < 0)
            return
        editedRow = -1
        page.forceActiveFocus(Qt.OtherFocusReason)
    }

    clip: true

    Connections {
        target: root.app

        function onPlayingChanged() {
            root.away = false
            root.followedTop = -1
            root.follow()
        }
    }
    Connections {
        target: root.cursor

        function onSpokenRowChanged() {
            root.follow()
        }
        function onMatchChanged() {
            // Does not scroll when an edit finds the same match again.
            if (root.cursor.matchRow >= 0 && root.cursor.matchRow !== root.revealedMatch)
                root.reveal(page.topOf(root.cursor.matchRow))
            root.revealedMatch = root.cursor.matchRow
        }
    }
    Timer {
        id: rest

        interval: 2500
        onTriggered: {
            if (root.spokenInView)
                root.away = false
        }
    }
    NumberAnimation {
        id: glide

        target: flick
        property: "contentY"
        duration: Theme.movement
        easing.type: Easing.OutCubic
    }

    Flickable {
        id: flick

        objectName: "prose"
        anchors.fill: parent
        contentWidth: width
        contentHeight: Math.max(page.contentHeight, height)
        boundsBehavior: Flickable.StopAtBounds
        onMovementStarted: {
            glide.stop()
            root.away = true
        }
        onMovementEnded: rest.restart()
        onContentHeightChanged: {
            if (!moving)
                contentY = root.limited(contentY)
        }
        ScrollBar.vertical: OScrollBar {
            onPressedChanged: {
                glide.stop()
                root.away = true
                if (!pressed)
                    rest.restart()
            }
        }

        ProsePage {
            id: page

            objectName: "page"
            focus: true
            y: flick.contentY
            width: flick.width
            height: flick.height
            offset: flick.contentY
            reader: root.cursor
            font.pixelSize: Theme.bodySize
            captionFont: Theme.digits(Theme.captionSize)
            colors: ({
                    "text": Theme.text,
                    "secondaryText": Theme.secondaryText,
                    "raised": Theme.raised,
                    "line": Theme.line,
                    "accentInk": Theme.accentInk,
                    "selection": Theme.selection,
                    "selectionEdge": Theme.selectionEdge,
                    "cutEdge": Theme.cutEdge,
                    "spoken": Qt.alpha(Theme.accent, 0.3)
                })
            Accessible.role: Accessible.EditableText
            Accessible.name: "Transcripción"
            onOffsetWanted: offset => flick.contentY = root.limited(offset)
            onCaretMoved: top => root.reveal(top)
            onEditWanted: row => root.edit(row)
            onMenuWanted: (place, row, start, end, cut) => {
                const menu = row < 0 ? pauseMenu : wordMenu
                menu.start = start
                menu.end = end
                menu.cut = cut
                menu.popup(page, place.x, place.y)
            }
        }
    }

    Item {
        readonly property rect about: {
            page.layoutCount
            flick.contentY
            return page.rectOf(page.unsureRow)
        }

        x: about.x
        y: about.y
        width: about.width
        height: about.height

        OTooltip {
            objectName: "unsureTip"
            visible: page.unsureRow >= 0
            text: "El reconocimiento dudó de esta palabra (" + Math.round(page.confidence(page.unsureRow) * 100) + " % de seguridad)"
        }
    }

    TranscriptBar {
        id: bar

        readonly property rect about: {
            page.layoutCount
            flick.contentY
            return page.boundsOf(root.cursor.firstTarget, root.cursor.lastTarget)
        }
        readonly property bool inView: about.height > 0 && about.bottom > 0 && about.top < flick.height
        readonly property real above: about.top - height - 4

        objectName: "bar"
        visible: inView && root.editedRow < 0 && (root.activeFocus || root.cursor.markedCount > 0)
            && (!root.app.playing || root.cursor.markedCount > 0)
        x: Math.min(Math.max(about.x - 4, 0), Math.max(0, root.width - width - 12))
        y: above >= 0 ? above : Math.min(about.bottom + 4, flick.height - height)
        cursor: root.cursor
        onSought: {
            root.app.seek(root.cursor.targetStart)
            page.forceActiveFocus(Qt.OtherFocusReason)
        }
        onEditWanted: root.edit(root.cursor.firstTarget)
    }

    OEntry {
        id: field

        readonly property rect about: {
            page.layoutCount
            flick.contentY
            return page.rectOf(root.editedRow)
        }

        objectName: "wordField"
        visible: root.editedRow >= 0
        x: Math.min(about.x - 8, root.width - width - 12)
        y: about.y - 4
        width: Math.min(Math.max(contentWidth + 24, about.width + 20, 52), root.width - 24)
        height: about.height + 8
        leftPadding: 7
        rightPadding: 7
        name: "Fragmento"
        shown: {
            page.layoutCount
            return page.wordText(root.editedRow)
        }
        onCommitted: text => {
            if (text.trim() !== "")
                root.cursor.correct(root.editedRow, text.trim())
        }
        onAccepted: root.endEditing()
        onGivenUp: root.endEditing()
        onActiveFocusChanged: {
            if (!activeFocus)
                root.editedRow = -1
        }
        Keys.onTabPressed: root.editNext(true)
        Keys.onBacktabPressed: root.editNext(false)
        Keys.onPressed: event => {
            if (event.key === Qt.Key_F2) {
                event.accepted = true
                commit()
                root.endEditing()
            }
        }
    }

    OButton {
        anchors.horizontalCenter: parent.horizontalCenter
        anchors.bottom: parent.bottom
        anchors.bottomMargin: Theme.space(2)
        visible: root.app.playing && root.away && !root.spokenInView
        text: "Volver a lo que suena"
        focusPolicy: Qt.TabFocus
        onClicked: {
            root.away = false
            root.followedTop = -1
            root.follow()
        }
    }

    OMenu {
        id: wordMenu

        property real start
        property real end
        property bool cut

        OMenuItem {
            command: Commands.ToggleWords
            text: wordMenu.cut ? "Restaurar" : Commands.title(command)
            iconName: wordMenu.cut ? "rotate-ccw" : "scissors"
            onTriggered: root.cursor.toggleTarget()
        }
        OMenuItem {
            command: Commands.CorrectWord
            text: Commands.title(command)
            iconName: "type"
            onTriggered: root.edit(root.cursor.firstTarget)
        }
        OMenuItem {
            text: "Oír"
            iconName: "play"
            onTriggered: root.cursor.hear()
        }
        OMenuSeparator {}
        OMenuItem {
            command: Commands.CopyWords
            text: Commands.title(command)
            iconName: "copy"
            onTriggered: root.cursor.copy()
        }
    }
    OMenu {
        id: pauseMenu

        property real start
        property real end
        property bool cut

        OMenuItem {
            text: pauseMenu.cut ? "Restaurar la pausa" : "Cortar la pausa"
            iconName: pauseMenu.cut ? "rotate-ccw" : "scissors"
            onTriggered: {
                if (pauseMenu.cut)
                    root.cursor.restoreSpan(pauseMenu.start, pauseMenu.end)
                else
                    root.cursor.cutSpan(pauseMenu.start, pauseMenu.end)
            }
        }
        OMenuItem {
            text: "Acortarla a 0,3 s"
            iconName: "clock"
            enabled: !pauseMenu.cut
            onTriggered: root.cursor.shortenPause(pauseMenu.start, pauseMenu.end)
        }
        OMenuSeparator {}
        OMenuItem {
            text: "Acortar todas las pausas…"
            onTriggered: root.shorteningWanted()
        }
    }
}
