import QtQuick
import Orvo.Model
import Orvo.Ui

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

    /// Where it holds on to while it is dragged, as fractions of the frame; below 0 nowhere.
    property real guideX: -1
    property real guideY: -1

    /// The place nearest to `place` at which a thing of this size lies at a margin or in the middle.
    function aligned(place: real, size: real, reach: real): var {
        let best = {"place": place, "guide": -1}
        let distance = reach
        for (const [line, part] of [[0.05, 0], [0.5, 0.5], [0.95, 1]]) {
            const candidate = line - part * size
            if (candidate >= 0 && candidate <= 0.98 && Math.abs(candidate - place) < distance) {
                distance = Math.abs(candidate - place)
                best = {"place": candidate, "guide": line}
            }
        }
        return best
    }
    function nudge(dx: int, dy: int) {
        app.setOverlayValues(model.overlayId, {
            "x": Math.min(Math.max(model.x + dx / scene.frameSize.width, 0), 0.98),
            "y": Math.min(Math.max(model.y + dy / scene.frameSize.height, 0), 0.98)
        })
    }

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

    activeFocusOnTab: true
    Accessible.role: Accessible.Graphic
    Accessible.name: isText ? model.content : "Imagen"
    Accessible.focusable: true
    Accessible.description: "Las flechas la mueven"
    Keys.onPressed: event => {
        const step = event.modifiers & Qt.ShiftModifier ? 10 : 1
        const plain = !(event.modifiers & ~(Qt.ShiftModifier | Qt.KeypadModifier))
        if (plain && event.key === Qt.Key_Left)
            nudge(-step, 0)
        else if (plain && event.key === Qt.Key_Right)
            nudge(step, 0)
        else if (plain && event.key === Qt.Key_Up)
            nudge(0, -step)
        else if (plain && event.key === Qt.Key_Down)
            nudge(0, step)
        else if (plain && (event.key === Qt.Key_Delete || event.key === Qt.Key_Backspace))
            app.removeOverlay(model.overlayId)
        else
            return
        event.accepted = true
    }

    component Guide: Rectangle {
        parent: root.parent
        z: 2
        color: Theme.selectionEdge
    }
    Guide {
        visible: root.guideX >= 0
        x: root.guideX * (parent?.width ?? 0)
        width: 1
        height: parent?.height ?? 0
    }
    Guide {
        visible: root.guideY >= 0
        y: root.guideY * (parent?.height ?? 0)
        width: parent?.width ?? 0
        height: 1
    }

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
        marked: root.activeFocus
        onTaken: root.forceActiveFocus(Qt.MouseFocusReason)
        onDragged: (dx, dy) => {
            const across = root.aligned(Math.min(Math.max(root.model.x + dx, 0), 0.98), root.width / space.width, 6 / space.width)
            const down = root.aligned(Math.min(Math.max(root.model.y + dy, 0), 0.98), root.height / space.height, 6 / space.height)
            root.guideX = across.guide
            root.guideY = down.guide
            root.moved = Qt.point(across.place - root.model.x, down.place - root.model.y)
        }
        onSized: dx => root.widened = Math.min(Math.max(root.model.width + dx, 0.02), 1) - root.model.width
        onDropped: {
            const values = {
                "x": root.model.x + root.moved.x,
                "y": root.model.y + root.moved.y
            }
            root.moved = Qt.point(0, 0)
            root.guideX = root.guideY = -1
            root.app.setOverlayValues(root.model.overlayId, values)
        }
        onSizeDropped: {
            const width = root.model.width + root.widened
            root.widened = 0
            root.app.setOverlayValue(root.model.overlayId, "width", width)
        }
    }
}
