import QtQuick.Controls.Basic

/// A menu entry for a command; text and keys come from the table. Editor keys are only shown: the editor handles them, so that
/// they do not take keys from text fields.
Action {
    required property int command

    text: Commands.menuText(command)
    shortcut: Commands.shortcut(command)
}
