import QtQuick
import QtQuick.Controls.Basic
import QtQuick.Layouts
import Orvo.Ui

/// Notes for the speaker, scrolled with the wheel, with keys or automatically. Stays visible outside the recorded area; if
/// there is no such place, it is hidden with the other windows.
ApplicationWindow {
    id: root

    /// Whether the user can edit the notes; otherwise keys scroll them.
    property bool writing: notes.text === ""
    property bool rolling: false
    /// Read by `RecordingDesk`.
    readonly property bool staysAside: true

    /// Scrolls down by `lines`, or up if negative.
    function scroll(lines: real) {
        const flick = page.contentItem as Flickable
        flick.contentY = Math.max(0, Math.min(flick.contentHeight - flick.height, flick.contentY + lines * remembered.size * 1.4))
    }
    function changeSpeed(by: int) {
        remembered.speed = Math.max(5, Math.min(150, remembered.speed + by))
    }

    title: "Notas"
    transientParent: null // Stays while the main window is hidden.
    width: 420
    height: 320
    minimumWidth: 280
    minimumHeight: 160
    color: Theme.window
    font.pixelSize: Theme.bodySize
    flags: Qt.Window | Qt.WindowStaysOnTopHint

    Remembered {
        id: remembered

        category: "notes"
        property string text: ""
        property int size: 20
        property int speed: 30 ///< Pixels per second.
        Component.onCompleted: notes.text = text
    }
    FocusFollower {
        window: root
    }
    FrameAnimation {
        running: root.rolling && root.visible
        onTriggered: {
            const flick = page.contentItem as Flickable
            const end = flick.contentHeight - flick.height
            flick.contentY = Math.min(end, flick.contentY + remembered.speed * frameTime)
            if (flick.contentY >= end)
                root.rolling = false
        }
    }
    component Key: Shortcut {
        required property int command

        sequences: Commands.shortcuts(command)
        enabled: !root.writing
    }

    Key {
        command: Commands.RollNotes
        onActivated: root.rolling = !root.rolling
    }
    Key {
        command: Commands.ScrollNotesUp
        onActivated: root.scroll(-1)
    }
    Key {
        command: Commands.ScrollNotesDown
        onActivated: root.scroll(1)
    }
    Key {
        command: Commands.PageNotesUp
        onActivated: root.scroll(-6)
    }
    Key {
        command: Commands.PageNotesDown
        onActivated: root.scroll(6)
    }
    Key {
        command: Commands.SlowNotes
        onActivated: root.changeSpeed(-5)
    }
    Key {
        command: Commands.SpeedNotes
        onActivated: root.changeSpeed(5)
    }
    Shortcut {
        sequences: [StandardKey.Close]
        onActivated: root.close()
    }

    header: Rectangle {
        implicitHeight: 56
        color: Theme.panel

        RowLayout {
            anchors.fill: parent
            anchors.leftMargin: Theme.space(3)
            anchors.rightMargin: Theme.space(3)
            spacing: Theme.space(2)

            OButton {
                objectName: "notesMode"
                text: root.writing ? "Leer" : "Escribir"
                iconName: root.writing ? "eye" : "type"
                onClicked: {
                    root.rolling = false
                    root.writing = !root.writing
                    if (root.writing)
                        notes.forceActiveFocus()
                    else
                        forceActiveFocus()
                }
            }
            OIconButton {
                objectName: "notesRoll"
                iconName: root.rolling ? "pause" : "play"
                text: root.rolling ? "Detener el texto" : Commands.title(Commands.RollNotes)
                shortcutText: Commands.keyText(Commands.RollNotes)
                enabled: !root.writing
                onClicked: root.rolling = !root.rolling
            }
            OSlider {
                objectName: "notesSpeed"
                Layout.fillWidth: true
                label: "Velocidad"
                decimals: 0
                from: 5
                to: 150
                value: remembered.speed
                onEdited: value => remembered.speed = Math.round(value)
            }
            OIconButton {
                iconName: "zoom-out"
                text: "Letra más pequeña"
                enabled: remembered.size > 12
                onClicked: remembered.size -= 2
            }
            OIconButton {
                iconName: "zoom-in"
                text: "Letra más grande"
                enabled: remembered.size < 60
                onClicked: remembered.size += 2
            }
        }
    }

    footer: OLabel {
        visible: root.writing
        leftPadding: Theme.space(3)
        rightPadding: Theme.space(3)
        bottomPadding: Theme.space(3)
        secondary: true
        text: "Solo lo ves tú: esta ventana no se graba si grabas una zona, una ventana u otra pantalla. Al leer, la barra espaciadora mueve el texto."
        font.pixelSize: Theme.captionSize
        wrapMode: Text.Wrap
    }

    ScrollView {
        id: page

        anchors.fill: parent
        anchors.margins: Theme.space(3)
        contentWidth: availableWidth
        ScrollBar.vertical: OScrollBar {
            parent: page
            x: page.width - width
            height: page.height
        }

        TextArea {
            id: notes

            objectName: "notesText"
            width: page.availableWidth
            readOnly: !root.writing
            activeFocusOnPress: root.writing
            color: Theme.text
            selectionColor: Theme.accent
            selectedTextColor: Theme.inkOnAccent
            placeholderText: "Escribe aquí lo que quieres decir."
            placeholderTextColor: Theme.secondaryText
            font.pixelSize: remembered.size
            wrapMode: TextEdit.Wrap
            Accessible.name: "Notas"
            onTextChanged: {
                if (activeFocus)
                    remembered.text = text
            }
        }
    }
}
