import QtQuick
import Orvo.Model
import Orvo.Ui

/// An overlay on the preview, visible during its time span. The user can drag it and resize images. A double click, or Return
/// when focused, edits a text in place.
Item {
    id: root

    required property AppModel app
    required property PreviewScene scene

    /// The overlay; positions are fractions of the frame.
    required property var model

    readonly property bool isText: model.kind === "text"
    /// Offset and extra width of the current drag, in fractions of the frame.
    property point moved: Qt.point(0, 0)
    property real widened: 0

    /// The guides to which a drag snaps, in fractions of the frame; below 0 if it does not snap.
    property real guideX: -1
    property real guideY: -1

    /// The position within `reach` of `place` that aligns this size with a margin or the middle, and its guide.
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
        app.editing.setOverlayValues(model.overlayId, {
            "x": Math.min(Math.max(model.x + dx / scene.frameSize.width, 0), 0.98),
            "y": Math.min(Math.max(model.y + dy / scene.frameSize.height, 0), 0.98)
        })
    }

    /// Whether the text is being edited.
    property bool editing: false

    function edit() {
        if (!isText || editing)
            return
        app.pause()
        editing = true
        field.item.forceActiveFocus(Qt.OtherFocusReason)
        field.item.selectAll()
    }
    /// Ends editing. Discards a blank text, like Escape.
    function endEditing(keep: bool) {
        if (!editing)
            return
        const text = field.item.text
        const hadKeyboard = field.item.activeFocus
        editing = false
        if (hadKeyboard)
            forceActiveFocus(Qt.OtherFocusReason)
        if (keep && text.trim() !== "" && text !== model.content)
            app.editing.setOverlayText(model.overlayId, text)
    }

    function place(fraction: real, size: int): real {
        // An export places texts on whole pixels.
        const exact = fraction * size
        return (isText ? Math.trunc(exact) : exact) * scene.pixel
    }

    visible: editing || scene.time >= model.start && (isText ? scene.time < model.end : scene.time <= model.end)
    // Images cover texts, as in an export.
    z: isText ? 0 : 1
    x: place(model.x + moved.x, scene.frameSize.width)
    y: place(model.y + moved.y, scene.frameSize.height)
    width: editing ? field.width : isText ? text.implicitWidth : Math.trunc((model.width + widened) * scene.frameSize.width) * scene.pixel
    height: editing ? field.height : isText ? text.implicitHeight
        : image.implicitWidth > 0 ? width * image.implicitHeight / image.implicitWidth : width * 9 / 16

    activeFocusOnTab: true
    Accessible.role: Accessible.Graphic
    Accessible.name: isText ? model.content : "Imagen"
    Accessible.focusable: true
    Accessible.description: isText ? "Las flechas lo mueven; Intro lo edita" : "Las flechas la mueven"
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
        else if (plain && root.isText && (event.key === Qt.Key_Return || event.key === Qt.Key_Enter || event.key === Qt.Key_F2))
            edit()
        else if (plain && (event.key === Qt.Key_Delete || event.key === Qt.Key_Backspace))
            app.editing.removeOverlay(model.overlayId)
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

        visible: root.isText && !root.editing
        text: root.isText ? root.model.content : ""
        textSize: root.scene.textSize
        lineWidth: root.scene.frameSize.width
        pixel: root.scene.pixel
    }
    Loader {
        id: field

        active: root.editing
        sourceComponent: TextEdit {
            objectName: "overlayEditor"
            // Leaves room for the caret.
            width: Math.min(Math.max(implicitWidth, 8) + 2, root.scene.frameSize.width * root.scene.pixel)
            text: root.model.content
            textFormat: TextEdit.PlainText
            wrapMode: TextEdit.Wrap
            color: "#FFFFFF"
            selectionColor: Theme.accent
            selectedTextColor: Theme.inkOnAccent
            selectByMouse: true
            font.family: Qt.fontFamilies().includes("Helvetica") ? "Helvetica" : "sans-serif"
            font.bold: true
            font.hintingPreference: Font.PreferNoHinting
            // `textSize` is the distance between the highest and the lowest point of the font.
            font.pixelSize: Math.max(Math.round(root.scene.textSize * root.scene.pixel * 100 / (metrics.ascent + metrics.descent)), 6)
            Accessible.role: Accessible.EditableText
            Accessible.name: "Texto en pantalla"
            onActiveFocusChanged: {
                if (!activeFocus)
                    root.endEditing(true)
            }
            Keys.onPressed: event => {
                const isReturn = event.key === Qt.Key_Return || event.key === Qt.Key_Enter
                if (isReturn && !(event.modifiers & Qt.ShiftModifier))
                    root.endEditing(true)
                else if (event.key === Qt.Key_Escape)
                    root.endEditing(false)
                else
                    return
                event.accepted = true
            }

            FontMetrics {
                id: metrics

                font.family: "Helvetica"
                font.bold: true
                font.pixelSize: 100
            }
            Rectangle {
                z: -1
                anchors.fill: parent
                anchors.margins: -4
                radius: 4
                color: Qt.alpha("#000000", 0.55)
                border.width: 1.5
                border.color: Theme.accent
            }
        }
    }
    Connections {
        target: root.app
        enabled: root.editing

        function onCommitWanted() {
            root.endEditing(true)
        }
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
        visible: !root.editing
        space: root.parent
        sizable: !root.isText
        marked: root.activeFocus
        onTaken: root.forceActiveFocus(Qt.MouseFocusReason)
        onDoubleClicked: root.edit()
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
            root.app.editing.setOverlayValues(root.model.overlayId, values)
        }
        onSizeDropped: {
            const width = root.model.width + root.widened
            root.widened = 0
            root.app.editing.setOverlayValue(root.model.overlayId, "width", width)
        }
    }
}
