pragma ComponentBehavior: Bound

import QtQuick
import QtQuick.Controls.Basic
import QtQuick.Layouts
import Orvo.Model
import Orvo.Ui

/// The suggestions of one kind: their number, the time they save, and buttons to preview and apply each.
ColumnLayout {
    id: root

    required property AppModel app
    required property SuggestionModel suggestions
    /// "silence", "filler" or "zoom".
    required property string kind
    required property string title

    readonly property string gainText: {
        const seconds = suggestions.gain
        if (seconds <= 0)
            return ""
        return " · " + (seconds >= 60 ? Wording.time(seconds)
            : Number(seconds).toLocaleString(Qt.locale("es_ES"), "f", seconds < 10 ? 1 : 0) + " s")
    }

    visible: suggestions.count > 0
    spacing: Theme.space(1)

    RowLayout {
        Layout.fillWidth: true
        spacing: Theme.space(2)

        ColumnLayout {
            Layout.fillWidth: true
            spacing: 0

            OLabel {
                objectName: "heading"
                Layout.fillWidth: true
                text: root.title + " (" + root.suggestions.count + ")" + root.gainText
                font.weight: Font.DemiBold
                wrapMode: Text.Wrap
                Accessible.role: Accessible.Heading
            }
            OLabel {
                objectName: "outcome"
                Layout.fillWidth: true
                visible: root.suggestions.gain > 0
                text: "El vídeo quedaría en " + Wording.exactTime(root.suggestions.resultingLength)
                secondary: true
                font.pixelSize: Theme.captionSize
                wrapMode: Text.Wrap
            }
        }
        OButton {
            text: "Aplicar todas"
            Accessible.description: root.title
            onClicked: root.app.editing.applySuggestions(root.kind)
        }
    }
    OList {
        id: list

        objectName: root.kind
        Layout.fillWidth: true
        maximumHeight: 220
        name: root.title
        model: root.suggestions

        delegate: RowLayout {
            id: entry

            required property string suggestionId
            required property string label
            required property real start
            required property real end
            readonly property string range: Wording.exactTime(start) + " → " + Wording.exactTime(end)

            width: list.entryWidth
            height: 44
            spacing: Theme.space(1)
            Accessible.role: Accessible.ListItem
            Accessible.name: label + ", " + range

            ColumnLayout {
                Layout.fillWidth: true
                spacing: 0

                OLabel {
                    Layout.fillWidth: true
                    text: entry.label
                    elide: Text.ElideRight
                }
                OButton {
                    implicitHeight: 18
                    leftPadding: 0
                    rightPadding: 0
                    plain: true
                    text: entry.range
                    font: Theme.digits(Theme.captionSize)
                    Accessible.description: "Ir a este momento"
                    onClicked: root.app.seek(entry.start)
                }
            }
            OButton {
                leftPadding: Theme.space(2)
                rightPadding: Theme.space(2)
                plain: true
                text: "Ver"
                Accessible.description: "Cómo quedaría: " + entry.label + ", " + entry.range
                onClicked: root.app.editing.tryOut(entry.suggestionId)
            }
            OButton {
                leftPadding: Theme.space(2)
                rightPadding: Theme.space(2)
                text: "Aplicar"
                Accessible.description: entry.label + ", " + entry.range
                onClicked: root.app.editing.applySuggestion(entry.suggestionId)
            }
        }
    }
}
