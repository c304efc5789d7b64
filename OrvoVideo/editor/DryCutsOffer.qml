import QtQuick
import QtQuick.Layouts
import Orvo.Model
import Orvo.Ui

/// Offers cuts without fades, once per project: when the user first cuts spoken words in it.
RowLayout {
    id: root

    required property AppModel app

    property string projectId: ""
    property int cutCount: 0
    property bool wanted: false

    function wasOffered(): bool {
        return JSON.parse(offered.projects).includes(projectId)
    }
    function noteOffer() {
        const projects = JSON.parse(offered.projects)
        projects.push(projectId)
        offered.projects = JSON.stringify(projects.slice(-500))
    }

    visible: wanted && app.project.fade > 0
    spacing: Theme.space(3)

    Remembered {
        id: offered

        category: "dryCuts"
        property string projects: "[]"
    }
    Connections {
        target: root.app

        function onProjectChanged() {
            const same = root.app.project.projectId === root.projectId
            const more = same && root.app.cuts.count > root.cutCount
            root.projectId = root.app.project.projectId
            root.cutCount = root.app.cuts.count
            if (!same)
                root.wanted = false
            if (!more || root.app.recorder.isRecording || root.app.transcript.count === 0 || root.app.project.fade <= 0 || root.wasOffered())
                return
            root.noteOffer()
            root.wanted = true
        }
    }
    Component.onCompleted: {
        projectId = app.project.projectId
        cutCount = app.cuts.count
    }

    OIcon {
        name: "scissors"
        color: Theme.accentInk
    }
    OLabel {
        Layout.fillWidth: true
        text: "En cada corte la imagen y el sonido se funden un momento."
        wrapMode: Text.Wrap
    }
    OButton {
        text: "Cortes secos"
        Accessible.description: "Sin fundido en este vídeo"
        onClicked: {
            root.app.editing.setValue("fade", 0)
            root.wanted = false
        }
    }
    OIconButton {
        iconName: "x"
        text: "Dejar el fundido"
        onClicked: root.wanted = false
    }
}
