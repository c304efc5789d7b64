import QtQuick
import QtQuick.Layouts
import Orvo.Model
import Orvo.Ui

/// The suggestions of the analysis, by kind.
ColumnLayout {
    id: root

    required property AppModel app
    /// Whether the user ran the analysis; an empty result is then reported.
    property bool asked: false
    readonly property string projectId: app.project.projectId

    onProjectIdChanged: asked = false

    objectName: "suggestions"
    spacing: Theme.space(3)

    OLabel {
        Layout.fillWidth: true
        visible: root.asked && root.app.suggestions.count === 0
        text: "No hay mejoras que proponer."
        secondary: true
        font.pixelSize: Theme.captionSize
    }
    SuggestionGroup {
        Layout.fillWidth: true
        app: root.app
        suggestions: root.app.editing.suggestedPauses
        kind: "silence"
        title: "Pausas"
    }
    SuggestionGroup {
        Layout.fillWidth: true
        app: root.app
        suggestions: root.app.editing.suggestedFillers
        kind: "filler"
        title: "Muletillas"
    }
    SuggestionGroup {
        Layout.fillWidth: true
        app: root.app
        suggestions: root.app.editing.suggestedZooms
        kind: "zoom"
        title: "Zooms"
    }
}
