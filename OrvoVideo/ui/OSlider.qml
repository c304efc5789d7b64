import QtQuick
import QtQuick.Controls.Basic

/// A slider below its label and its value with the unit. `edited` reports every value that the user chooses.
Item {
    id: root

    property string label: ""
    property alias from: slider.from
    property alias to: slider.to
    property real value: 0
    property real stepSize: 0
    /// Unit of the displayed value: "s", "%", "×".
    property string unitText: ""
    /// Factor of the displayed value, shown with `decimals` digits: 100 for a fraction in per cent.
    property real displayFactor: 1
    property int decimals: displayFactor === 1 ? 2 : 0
    readonly property string valueText: Number(slider.value * displayFactor).toLocaleString(Qt.locale("es_ES"), "f", decimals)
        + (unitText ? " " + unitText : "")
    readonly property alias pressed: slider.pressed

    signal edited(real value)
    /// The user pressed or released the handle.
    signal gesture(bool active)

    onPressedChanged: gesture(pressed)
    Component.onDestruction: {
        if (pressed)
            gesture(false)
    }

    implicitWidth: 200
    implicitHeight: heading.visible ? heading.implicitHeight + slider.implicitHeight : slider.implicitHeight

    Item {
        id: heading

        visible: root.label !== ""
        width: parent.width
        implicitHeight: name.implicitHeight

        OLabel {
            id: name

            anchors.left: parent.left
            anchors.right: number.left
            anchors.rightMargin: Theme.space(2)
            text: root.label
            elide: Text.ElideRight
            opacity: root.enabled ? 1 : 0.45
            Accessible.ignored: true
        }
        OLabel {
            id: number

            anchors.right: parent.right
            secondary: true
            text: root.valueText
            font: Theme.digits(Theme.bodySize)
            opacity: root.enabled ? 1 : 0.45
            Accessible.ignored: true
        }
    }

    Slider {
        id: slider

        anchors.bottom: parent.bottom
        width: parent.width
        implicitHeight: 24
        padding: 0
        value: root.value
        // Only the keyboard steps; the pointer may choose any value.
        stepSize: root.stepSize > 0 ? root.stepSize : (to - from) / 100
        snapMode: Slider.NoSnap
        focusPolicy: Qt.StrongFocus
        live: true
        opacity: enabled ? 1 : 0.45
        onMoved: root.edited(value)

        Accessible.role: Accessible.Slider
        Accessible.name: root.label
        Accessible.description: root.valueText

        background: Rectangle {
            x: 0
            y: (slider.height - height) / 2
            width: slider.width
            height: 4
            radius: 2
            color: Theme.line

            Rectangle {
                width: slider.visualPosition * parent.width
                height: parent.height
                radius: 2
                color: Theme.accentInk
            }
        }
        handle: Rectangle {
            x: slider.visualPosition * (slider.width - width)
            y: (slider.height - height) / 2
            width: 16
            height: 16
            radius: 8
            color: slider.pressed ? Theme.accentInk : Theme.panel
            border.width: 2
            border.color: Theme.accentInk

            FocusRing {
                shown: slider.visualFocus
                radius: 11
            }
        }
    }
}
