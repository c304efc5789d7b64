import QtQuick
import QtQuick.Controls.Basic

/// Multi-line text. Tab leaves the field.
TextArea {
    id: control

    property string name: placeholderText

    implicitHeight: Math.max(72, contentHeight + topPadding + bottomPadding)
    padding: Theme.space(2.5)
    color: Theme.text
    placeholderTextColor: Theme.secondaryText
    selectionColor: Theme.accent
    selectedTextColor: Theme.inkOnAccent
    selectByMouse: true
    wrapMode: TextEdit.Wrap
    textFormat: TextEdit.PlainText
    opacity: enabled ? 1 : 0.45
    font.pixelSize: Theme.bodySize
    KeyNavigation.priority: KeyNavigation.BeforeItem
    Keys.onTabPressed: nextItemInFocusChain(true).forceActiveFocus(Qt.TabFocusReason)
    Keys.onBacktabPressed: nextItemInFocusChain(false).forceActiveFocus(Qt.BacktabFocusReason)
    Accessible.role: Accessible.EditableText
    Accessible.name: name

    background: Rectangle {
        radius: Theme.radius
        color: Theme.panel
        border.width: control.activeFocus ? 2 : 1
        border.color: control.activeFocus ? Theme.accentInk : Theme.edge
    }
}
