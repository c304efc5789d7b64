pragma ComponentBehavior: Bound

import QtQuick
import Orvo.Model
import Orvo.Ui

/// The drop zones for files dragged over the window. A movie becomes a project or is appended to the open one; an image
/// becomes an overlay of the open project.
DropArea {
    id: root

    required property AppModel app
    property url movie
    property url image

    readonly property bool hasMovie: movie.toString() !== ""
    readonly property bool hasImage: image.toString() !== ""

    function forget() {
        movie = ""
        image = ""
    }

    keys: ["text/uri-list"]
    onEntered: drag => {
        movie = drag.urls.find(file => Wording.isMovie(file)) ?? ""
        image = app.hasProject && !app.recorder.isRecording ? drag.urls.find(file => Wording.isImage(file)) ?? "" : ""
        drag.accepted = (hasMovie && !app.recorder.isRecording) || hasImage
    }
    onExited: forget()
    onDropped: drop => {
        const join = app.hasProject && drop.x >= width / 2
        if (hasImage && !hasMovie)
            app.editing.addImageFile(image)
        else if (hasMovie)
            app.importFile(movie, join)
        drop.accept(Qt.CopyAction)
        forget()
    }

    component Zone: Rectangle {
        id: zone

        property string iconName: ""
        property string text: ""
        property bool pointed: false

        color: Qt.alpha(Theme.panel, 0.94)
        radius: Theme.panelRadius
        border.width: 2
        border.color: pointed ? Theme.accentInk : Theme.line

        Column {
            anchors.centerIn: parent
            spacing: Theme.space(3)

            OIcon {
                anchors.horizontalCenter: parent.horizontalCenter
                name: zone.iconName
                size: 32
                color: zone.pointed ? Theme.accentInk : Theme.text
            }
            OLabel {
                anchors.horizontalCenter: parent.horizontalCenter
                text: zone.text
                font.pixelSize: Theme.headlineSize
                font.weight: Font.DemiBold
            }
        }
    }

    Row {
        anchors.fill: parent
        anchors.margins: Theme.space(4)
        spacing: Theme.space(4)
        visible: root.containsDrag && (root.hasMovie || root.hasImage)

        readonly property bool two: root.hasMovie && root.app.hasProject

        Zone {
            width: parent.two ? (parent.width - parent.spacing) / 2 : parent.width
            height: parent.height
            iconName: root.hasMovie ? "film" : "image"
            text: root.hasMovie ? "Nuevo proyecto" : "Añadir la imagen al vídeo"
            pointed: !parent.two || root.drag.x < root.width / 2
        }
        Zone {
            visible: parent.two
            width: (parent.width - parent.spacing) / 2
            height: parent.height
            iconName: "copy-plus"
            text: "Añadir a este proyecto"
            pointed: root.drag.x >= root.width / 2
        }
    }
}
