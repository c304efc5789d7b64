pragma ComponentBehavior: Bound

import QtQuick
import QtQuick.Controls.Basic

/// A choice of a few options, side by side. `model` is a list of texts; `activated` reports the user's choice.
Control {
    id: root

    property var model: []
    property int currentIndex: 0
    /// The accessible name.
    property string name: ""

    signal activated(int index)

    function choose(index: int) {
        const wanted = Math.min(Math.max(index, 0), model.length - 1)
        if (wanted === currentIndex)
            return
        currentIndex = wanted
        activated(wanted)
    }

    implicitHeight: Theme.controlHeight
    implicitWidth: row.implicitWidth + 4
    padding: 2
    focusPolicy: Qt.StrongFocus
    opacity: enabled ? 1 : 0.45
    Accessible.role: Accessible.PageTabList
    Accessible.name: name
    Accessible.description: model[currentIndex] ?? ""
    Accessible.focusable: true
    Keys.onLeftPressed: choose(currentIndex - 1)
    Keys.onRightPressed: choose(currentIndex + 1)

    background: Rectangle {
        radius: Theme.radius
        color: Theme.raised
        border.color: Theme.line

        FocusRing {
            shown: root.visualFocus
        }
    }
    contentItem: Row {
        id: row

        Repeater {
            model: root.model

            AbstractButton {
                id: segment

                required property int index
                required property string modelData
                readonly property bool current: index === root.currentIndex

                width: Math.max(implicitWidth, root.availableWidth / Math.max(1, root.model.length))
                height: root.availableHeight
                leftPadding: Theme.space(2)
                rightPadding: Theme.space(2)
                text: modelData
                hoverEnabled: true
                focusPolicy: Qt.NoFocus
                Accessible.role: Accessible.PageTab
                Accessible.name: text
                Accessible.checked: current
                Accessible.onPressAction: root.choose(index)
                onClicked: root.choose(index)

                contentItem: Text {
                    text: segment.text
                    color: segment.current || segment.hovered ? Theme.text : Theme.secondaryText
                    font.pixelSize: Theme.bodySize
                    font.weight: segment.current ? Font.DemiBold : Font.Medium
                    horizontalAlignment: Text.AlignHCenter
                    verticalAlignment: Text.AlignVCenter
                    elide: Text.ElideRight
                    Accessible.ignored: true
                }
                background: Rectangle {
                    radius: Theme.radius - 2
                    color: segment.current ? Theme.panel : "transparent"
                    border.width: segment.current ? 1 : 0
                    border.color: Theme.accentInk
                }
            }
        }
    }
}
