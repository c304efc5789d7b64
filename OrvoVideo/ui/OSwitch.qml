import QtQuick
import QtQuick.Controls.Basic

/// A labelled switch: the label on the left, the switch on the right.
Switch {
    id: control

    implicitHeight: Theme.controlHeight
    implicitWidth: implicitContentWidth + Theme.space(3) + implicitIndicatorWidth
    padding: 0
    hoverEnabled: true
    focusPolicy: Qt.StrongFocus
    opacity: enabled ? 1 : 0.45
    font.pixelSize: Theme.bodySize

    Accessible.role: Accessible.CheckBox
    Accessible.name: text
    // The default action changes `checked` without emitting `toggled`.
    Accessible.onToggleAction: click()
    Keys.onReturnPressed: click()
    Keys.onEnterPressed: click()

    contentItem: Text {
        rightPadding: control.indicator.width + Theme.space(3)
        text: control.text
        color: Theme.text
        font: control.font
        elide: Text.ElideRight
        verticalAlignment: Text.AlignVCenter
        Accessible.ignored: true
    }
    indicator: Rectangle {
        implicitWidth: 36
        implicitHeight: 20
        x: control.width - width
        y: (control.height - height) / 2
        radius: 10
        color: control.checked ? Theme.accent : Theme.raised
        border.width: control.checked ? 0 : 1
        border.color: Theme.edge

        Rectangle {
            x: control.checked ? parent.width - width - 3 : 3
            y: 3
            width: 14
            height: 14
            radius: 7
            color: control.checked ? Theme.inkOnAccent : Theme.secondaryText

            Behavior on x {
                NumberAnimation {
                    duration: Theme.movement
                    easing.type: Easing.OutCubic
                }
            }
        }
        FocusRing {
            shown: control.visualFocus
            radius: 13
        }
    }
}
