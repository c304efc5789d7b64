import QtQuick
import Orvo.Model
import Orvo.Ui

/// Frames a zoom point: a rectangle over the whole frame, dragged to move and scaled at its corner.
Item {
    id: root

    required property AppModel app
    required property PreviewScene scene

    /// Offset and extra width of the current drag, in fractions of the frame.
    property point moved: Qt.point(0, 0)
    property real widened: 0

    readonly property rect part: scene.zoomPart
    readonly property real partWidth: part.width + widened
    /// Minimum size of the part: the maximum magnification is four.
    readonly property real minPart: 1 / 4

    function limited(value: real, min: real, max: real): real {
        return Math.min(Math.max(value, min), max)
    }
    /// Sets the magnified part: left and top edges and width, in fractions of the frame.
    function frame(left: real, top: real, width: real) {
        app.editing.setEventValues(scene.framedZoom, {
            "x": left + width / 2,
            "y": top + width / 2,
            "scale": 1 / width
        })
    }
    function nudge(dx: real, dy: real) {
        app.editing.setEventValues(scene.framedZoom, {
            "x": limited(part.x + dx, 0, 1 - part.width) + part.width / 2,
            "y": limited(part.y + dy, 0, 1 - part.width) + part.width / 2
        })
    }
    /// Scales the part around its centre.
    function rescale(factor: real) {
        const width = limited(part.width * factor, minPart, 1)
        frame(limited(part.x + (part.width - width) / 2, 0, 1 - width), limited(part.y + (part.width - width) / 2, 0, 1 - width), width)
    }
    function end() {
        scene.framedZoom = ""
    }

    objectName: "zoomFrame"
    visible: scene.framing

    component Shade: Rectangle {
        color: Qt.alpha("#000000", 0.5)
    }
    Shade {
        width: parent.width
        height: box.y
    }
    Shade {
        y: box.y + box.height
        width: parent.width
        height: parent.height - y
    }
    Shade {
        y: box.y
        width: box.x
        height: box.height
    }
    Shade {
        x: box.x + box.width
        y: box.y
        width: parent.width - x
        height: box.height
    }

    Item {
        id: box

        objectName: "zoomPart"
        x: (root.part.x + root.moved.x) * root.width
        y: (root.part.y + root.moved.y) * root.height
        width: root.partWidth * root.width
        height: root.partWidth * root.height

        activeFocusOnTab: true
        Accessible.role: Accessible.Graphic
        Accessible.name: "Encuadre del zoom, aumento " + Number(1 / root.part.width).toLocaleString(Qt.locale("es_ES"), "f", 1)
        Accessible.description: "Las flechas lo mueven, + y − lo escalan"
        Accessible.focusable: true
        Keys.onPressed: event => {
            const step = event.modifiers & Qt.ShiftModifier ? 0.05 : 0.01
            const plain = !(event.modifiers & ~(Qt.ShiftModifier | Qt.KeypadModifier))
            if (plain && event.key === Qt.Key_Left)
                root.nudge(-step, 0)
            else if (plain && event.key === Qt.Key_Right)
                root.nudge(step, 0)
            else if (plain && event.key === Qt.Key_Up)
                root.nudge(0, -step)
            else if (plain && event.key === Qt.Key_Down)
                root.nudge(0, step)
            else if (plain && event.key === Qt.Key_Plus)
                root.rescale(1 / 1.1)
            else if (plain && event.key === Qt.Key_Minus)
                root.rescale(1.1)
            else if (plain && (event.key === Qt.Key_Delete || event.key === Qt.Key_Backspace))
                root.app.editing.removeEvent(root.scene.framedZoom)
            else if (event.key === Qt.Key_Escape)
                root.end()
            else
                return
            event.accepted = true
        }

        DragFrame {
            anchors.fill: parent
            space: root
            sizable: true
            marked: true
            onTaken: box.forceActiveFocus(Qt.MouseFocusReason)
            onDragged: (dx, dy) => root.moved = Qt.point(root.limited(root.part.x + dx, 0, 1 - root.part.width) - root.part.x,
                root.limited(root.part.y + dy, 0, 1 - root.part.width) - root.part.y)
            onSized: dx => root.widened = root.limited(root.part.width + dx, root.minPart,
                Math.min(1 - root.part.x, 1 - root.part.y)) - root.part.width
            onDropped: {
                const dx = root.moved.x
                const dy = root.moved.y
                root.moved = Qt.point(0, 0)
                root.nudge(dx, dy)
            }
            onSizeDropped: {
                const width = root.partWidth
                root.widened = 0
                root.frame(root.part.x, root.part.y, width)
            }
        }
    }
}
