pragma ComponentBehavior: Bound

import QtQuick
import QtQuick.Layouts
import Orvo.Model
import Orvo.Ui

/// The transcript, effects and sharing sections of the open project.
Item {
    id: root

    required property AppModel app
    /// "text", "effects" or "share".
    property string section: "text"
    readonly property var sections: ["text", "effects", "share"]

    signal settingsWanted()
    signal zoomWanted()
    /// Requests framing of this zoom point.
    signal zoomFramed(id: string)

    /// Shows the controls of a zoom point or an overlay; `kind` is "zoom" or "overlay".
    function showCard(kind: string, id: string) {
        section = "effects"
        effects.item.showCard(kind, id)
    }
    /// Shows and focuses the field that adds an overlay text.
    function editOverlayText() {
        section = "effects"
        effects.item.editOverlayText()
    }

    /// Shows and focuses the transcript search.
    function search() {
        section = "text"
        words.item.search()
    }
    function nextMatch(backwards: bool) {
        if (words.item)
            words.item.nextMatch(backwards)
    }

    ColumnLayout {
        anchors.fill: parent
        anchors.leftMargin: Theme.space(2)
        spacing: Theme.space(3)

        OSegmented {
            objectName: "section"
            Layout.fillWidth: true
            name: "Editor"
            model: ["Texto", "Efectos", "Compartir"]
            currentIndex: root.sections.indexOf(root.section)
            onActivated: index => {
                root.section = root.sections[index]
                currentIndex = Qt.binding(() => root.sections.indexOf(root.section))
            }
        }

        // A section is created when first shown, then kept with its typed text and scroll position.
        component Section: Loader {
            required property string name
            property bool wasShown: false
            readonly property bool shown: root.section === name

            Layout.fillWidth: true
            Layout.fillHeight: true
            visible: shown
            active: shown || wasShown
            onLoaded: wasShown = true
        }

        Section {
            id: words

            name: "text"
            sourceComponent: TextSection {
                app: root.app
            }
        }
        Section {
            id: effects

            name: "effects"
            sourceComponent: EffectsSection {
                app: root.app
                onZoomWanted: root.zoomWanted()
                onZoomFramed: id => root.zoomFramed(id)
            }
        }
        Section {
            name: "share"
            sourceComponent: SharingSection {
                app: root.app
                onSettingsWanted: root.settingsWanted()
            }
        }
    }
}
