pragma ComponentBehavior: Bound

import QtQuick
import QtQuick.Controls.Basic
import QtQuick.Layouts
import Orvo.Model
import Orvo.Ui

/// What the analysis proposes.
ColumnLayout {
    id: root

    required property AppModel app
    /// Whether the analysis was asked for, so that finding nothing is said.
    property bool asked: false
    readonly property string projectId: app.project.projectId

    onProjectIdChanged: asked = false

    spacing: Theme.space(1)

    OLabel {
        Layout.fillWidth: true
        visible: root.asked && list.count === 0
        text: "No hay mejoras que proponer."
        secondary: true
        font.pixelSize: Theme.captionSize
    }
    OList {
        id: list

        objectName: "suggestions"
        Layout.fillWidth: true
        maximumHeight: 264
        name: "Mejoras propuestas"
        model: root.app.suggestions

        delegate: RowLayout {
            id: entry

            required property string suggestionId
            required property string label
            required property real start
            required property real end

            width: list.entryWidth
            height: 44
            spacing: Theme.space(2)
            Accessible.role: Accessible.ListItem
            Accessible.name: label

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
                    text: Theme.exactTimeText(entry.start) + " → " + Theme.exactTimeText(entry.end)
                    font: Theme.digits(Theme.captionSize)
                    Accessible.description: "Ir a este momento"
                    onClicked: root.app.seek(entry.start)
                }
            }
            OButton {
                text: "Aplicar"
                Accessible.description: entry.label
                onClicked: root.app.applySuggestion(entry.suggestionId)
            }
        }
    }
}
