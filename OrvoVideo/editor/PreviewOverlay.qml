import QtQuick
import Orvo.Model

/// A text or an image on the preview while it is shown. It can be dragged to another place, an image also to another width.
Item {
    id: root

    required property AppModel app
    required property PreviewScene scene

    /// The overlay; its places are fractions of the frame.
    required property var model

    readonly property bool isText: model.kind === "text"
    /// What a drag under way adds, in fractions of the frame.
    property point moved: Qt.point(0, 0)
    property real widened: 0

    function place(fraction: real, size: int): real {
        // Texts lie on whole pixels.
        const exact = fraction * size
        return (isText ? Math.trunc(exact) : exact) * scene.pixel
    }

    visible: scene.time >= model.start && (isText ? scene.time < model.end : scene.time <= model.end)
    // Images lie over texts.
    z: isText ? 0 : 1
    x: place(model.x + moved.x, scene.frameSize.width)
    y: place(model.y + moved.y, scene.frameSize.height)
    width: isText ? text.implicitWidth : Math.trunc((model.width + widened) * scene.frameSize.width) * scene.pixel
    height: isText ? text.implicitHeight
        : image.implicitWidth > 0 ? width * image.implicitHeight / image.implicitWidth : width * 9 / 16

    Accessible.role: Accessible.Graphic
    Accessible.name: isText ? model.content : "Imagen"

    OverlayText {
        id: text

        visible: root.isText
        text: root.isText ? root.model.content : ""
        textSize: root.scene.textSize
        lineWidth: root.scene.frameSize.width
        pixel: root.scene.pixel
    }
    Image {
        id: image

        anchors.fill: parent
        visible: !root.isText
        source: root.isText ? "" : root.model.source
        asynchronous: true
        mipmap: true
    }
    DragFrame {
        anchors.fill: parent
        space: root.parent
        sizable: !root.isText
        onDragged: (dx, dy) => root.moved = Qt.point(
            Math.min(Math.max(root.model.x + dx, 0), 0.98) - root.model.x,
            Math.min(Math.max(root.model.y + dy, 0), 0.98) - root.model.y)
        onSized: dx => root.widened = Math.min(Math.max(root.model.width + dx, 0.02), 1) - root.model.width
        onDropped: {
            const values = {
                "x": root.model.x + root.moved.x,
                "y": root.model.y + root.moved.y
            }
            root.moved = Qt.point(0, 0)
            root.app.setOverlayValues(root.model.overlayId, values)
        }
        onSizeDropped: {
            const width = root.model.width + root.widened
            root.widened = 0
            root.app.setOverlayValue(root.model.overlayId, "width", width)
        }
    }
}
