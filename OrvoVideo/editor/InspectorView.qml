pragma ComponentBehavior: Bound

import QtQuick
import QtQuick.Layouts
import Orvo.Model
import Orvo.Ui

/// The words, the effects and the sharing of the open project.
Item {
    id: root

    required property AppModel app
    /// "text", "effects" or "share".
    property string section: "text"
    readonly property var sections: ["text", "effects", "share"]

    signal settingsWanted()
    signal zoomWanted()
    /// The part of the picture that this zoom point magnifies is to be chosen.
    signal zoomFramed(id: string)

    /// Shows the controls of a zoom point or an overlay; `kind` is "zoom" or "overlay".
    function showCard(kind: string, id: string) {
        section = "effects"
        effects.item.showCard(kind, id)
    }
    /// Shows the field for a text on the screen and gives it the keyboard.
    function editOverlayText() {
        section = "effects"
        effects.item.editOverlayText()
    }

    /// Shows the search in the words and gives it the keyboard.
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

        // A section is made when it is first shown, and keeps what was typed and scrolled in it.
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
