import QtQuick
import QtQuick.Controls.Basic

/// A line of text. `plain` looks like a label until hovered or edited. Escape leaves the field.
TextField {
    id: control

    property bool plain: false
    /// The accessible name, when no label provides one.
    property string name: placeholderText

    implicitHeight: Theme.controlHeight
    implicitWidth: 160
    leftPadding: Theme.space(plain ? 1 : 2.5)
    rightPadding: leftPadding
    topPadding: 0
    bottomPadding: 0
    verticalAlignment: TextInput.AlignVCenter
    color: Theme.text
    placeholderTextColor: Theme.secondaryText
    selectionColor: Theme.accent
    selectedTextColor: Theme.inkOnAccent
    selectByMouse: true
    hoverEnabled: true
    opacity: enabled ? 1 : 0.45
    font.pixelSize: Theme.bodySize
    Accessible.role: Accessible.EditableText
    Accessible.name: name
    /// The user pressed Escape; emitted before the field loses focus.
    signal givenUp

    Keys.onEscapePressed: event => {
        event.accepted = activeFocus
        givenUp()
        focus = false
    }

    background: Rectangle {
        radius: Theme.radius
        color: control.activeFocus || !control.plain ? Theme.panel : control.hovered ? Theme.raised : "transparent"
        border.width: control.activeFocus ? 2 : control.plain ? 0 : 1
        border.color: control.activeFocus ? Theme.accentInk : Theme.edge
    }
}
