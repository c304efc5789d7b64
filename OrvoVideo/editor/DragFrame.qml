import QtQuick
import Orvo.Ui

/// A highlighted frame that reports drags and, at its lower right corner, resizing. Distances are fractions of `space`.
Item {
    id: root

    required property Item space
    property bool sizable: false
    /// Whether to highlight it even if the pointer is elsewhere.
    property bool marked: false

    /// The user pressed it.
    signal taken()
    signal doubleClicked()
    signal dragged(real dx, real dy)
    signal dropped()
    signal sized(real dx)
    signal sizeDropped()

    Rectangle {
        anchors.fill: parent
        anchors.margins: -3
        visible: root.marked || body.containsMouse || body.pressed || corner.containsMouse || corner.pressed
        color: "transparent"
        border.width: 1.5
        border.color: Theme.accent
        radius: 3
    }

    MouseArea {
        id: body

        property point from
        property bool moved: false

        function offset(mouse): point {
            const now = mapToItem(root.space, mouse.x, mouse.y)
            return Qt.point((now.x - from.x) / root.space.width, (now.y - from.y) / root.space.height)
        }

        anchors.fill: parent
        hoverEnabled: true
        preventStealing: true
        cursorShape: pressed ? Qt.ClosedHandCursor : Qt.OpenHandCursor
        onPressed: mouse => {
            root.taken()
            from = mapToItem(root.space, mouse.x, mouse.y)
            moved = false
        }
        onPositionChanged: mouse => {
            if (!pressed)
                return
            const by = offset(mouse)
            if (!moved && Math.hypot(by.x * root.space.width, by.y * root.space.height) < 3)
                return
            moved = true
            root.dragged(by.x, by.y)
        }
        onReleased: {
            if (moved)
                root.dropped()
        }
        onDoubleClicked: root.doubleClicked()
    }
    MouseArea {
        id: corner

        property real from
        property bool moved: false

        visible: root.sizable
        anchors.right: parent.right
        anchors.bottom: parent.bottom
        anchors.margins: -6
        width: 18
        height: 18
        hoverEnabled: true
        preventStealing: true
        cursorShape: Qt.SizeFDiagCursor
        onPressed: mouse => {
            from = mapToItem(root.space, mouse.x, mouse.y).x
            moved = false
        }
        onPositionChanged: mouse => {
            if (!pressed)
                return
            moved = true
            root.sized((mapToItem(root.space, mouse.x, mouse.y).x - from) / root.space.width)
        }
        onReleased: {
            if (moved)
                root.sizeDropped()
        }

        Rectangle {
            anchors.centerIn: parent
            width: 10
            height: 10
            radius: 2
            visible: root.marked || body.containsMouse || corner.containsMouse || corner.pressed
            color: Theme.accent
            border.color: Theme.inkOnAccent
        }
    }
}
