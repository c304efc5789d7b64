import QtQuick
import Orvo.Model
import Orvo.Preview

/// The camera on the preview, placed as in an export. The user can drag and resize it.
Item {
    id: root

    required property AppModel app
    required property PreviewScene scene

    property point moved: Qt.point(0, 0)
    property real widened: 0

    objectName: "camera"
    visible: scene.cameraShown
    x: scene.camera.x + moved.x * parent.width
    y: scene.camera.y + moved.y * parent.height
    width: scene.camera.width + widened * parent.width
    height: scene.camera.width > 0 ? width * scene.camera.height / scene.camera.width : 0

    Accessible.role: Accessible.Graphic
    Accessible.name: "Cámara"

    PreviewItem {
        anchors.fill: parent
        player: root.app.cameraPlayer
    }
    DragFrame {
        anchors.fill: parent
        space: root.parent
        sizable: true
        onDragged: (dx, dy) => {
            const project = root.app.project
            root.moved = Qt.point(Math.min(Math.max(project.cameraX + dx, 0), 1 - project.cameraWidth) - project.cameraX,
                Math.min(Math.max(project.cameraY + dy, 0), 0.98) - project.cameraY)
        }
        onSized: dx => {
            const project = root.app.project
            root.widened = Math.min(Math.max(project.cameraWidth + dx, 0.05), 1) - project.cameraWidth
        }
        onDropped: {
            const project = root.app.project
            const values = {
                "cameraX": project.cameraX + root.moved.x,
                "cameraY": project.cameraY + root.moved.y
            }
            root.moved = Qt.point(0, 0)
            root.app.editing.setValues(values)
        }
        onSizeDropped: {
            const width = root.app.project.cameraWidth + root.widened
            root.widened = 0
            root.app.editing.setValue("cameraWidth", width)
        }
    }
}
