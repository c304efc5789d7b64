import QtQuick
import QtQuick.Controls.Basic

/// Explains its parent after the pointer rests on it for a moment.
ToolTip {
    id: control

    delay: 600
    timeout: 8000
    padding: Theme.space(1.5)
    leftPadding: Theme.space(2)
    rightPadding: Theme.space(2)

    contentItem: Text {
        text: control.text
        color: Theme.text
        font.pixelSize: Theme.captionSize
        wrapMode: Text.Wrap
    }
    background: Rectangle {
        color: Theme.raised
        border.color: Theme.line
        radius: Theme.radius - 2
    }
}
