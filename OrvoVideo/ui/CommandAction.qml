import QtQuick.Controls.Basic

/// An entry of a menu that carries out a command: text and keys come from the table. Keys of the editor are shown only; the
/// editor hears them, so that they are not taken from texts that are being edited.
Action {
    required property int command

    text: Commands.menuText(command)
    shortcut: Commands.shortcut(command)
}
