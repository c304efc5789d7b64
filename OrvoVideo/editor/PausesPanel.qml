pragma ComponentBehavior: Bound

import QtQuick
import QtQuick.Controls.Basic
import QtQuick.Layouts
import Orvo.Ui

/// Shortens long pauses; first shows how much time that saves.
Popup {
    id: root

    required property TranscriptCursor cursor
    property real longerThan: 1
    property var outcome: ({
            "count": 0,
            "seconds": 0
        })

    function look() {
        outcome = cursor.shortening(longerThan)
    }
    function number(value: real): string {
        return Number(value).toLocaleString(Qt.locale("es_ES"), "f", 1)
    }

    width: Math.min(300, parent ? parent.width : 300)
    modal: true
    focus: true
    padding: Theme.space(4)
    closePolicy: Popup.CloseOnEscape | Popup.CloseOnPressOutside
    onAboutToShow: look()

    background: Rectangle {
        color: Theme.panel
        border.color: Theme.line
        radius: Theme.panelRadius
    }
    Overlay.modal: Rectangle {
        color: Theme.shade
    }
    contentItem: ColumnLayout {
        spacing: Theme.space(3)
        Accessible.role: Accessible.Dialog
        Accessible.name: "Acortar las pausas"

        RowLayout {
            spacing: Theme.space(2)

            OLabel {
                Layout.fillWidth: true
                text: "Acortar todas las pausas de más de"
                wrapMode: Text.Wrap
            }
            ONumberField {
                objectName: "longerThan"
                name: "Segundos"
                decimals: 1
                from: 0.5
                to: 60
                value: root.longerThan
                onEdited: value => {
                    root.longerThan = value
                    root.look()
                }
            }
            OLabel {
                text: "s"
            }
        }
        OLabel {
            objectName: "gain"
            Layout.fillWidth: true
            wrapMode: Text.Wrap
            secondary: root.outcome.count === 0
            text: root.outcome.count === 0 ? "No hay pausas tan largas."
                : (root.outcome.count === 1 ? "1 pausa queda en 0,3 s" : root.outcome.count + " pausas quedan en 0,3 s")
                    + ": el vídeo dura " + root.number(root.outcome.seconds) + " s menos."
        }
        RowLayout {
            Layout.alignment: Qt.AlignRight
            spacing: Theme.space(2)

            OButton {
                text: "Cancelar"
                onClicked: root.close()
            }
            OButton {
                text: "Acortar"
                prominent: true
                enabled: root.outcome.count > 0
                onClicked: {
                    root.cursor.shortenPauses(root.longerThan)
                    root.close()
                }
            }
        }
    }
}
