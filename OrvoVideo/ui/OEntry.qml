import QtQuick

/// One line of text that edits a value of the model. It follows `shown` until the user types; what was typed is committed when
/// the field loses the keyboard, with Return, or by `commit`. Escape restores `shown`.
OTextField {
    id: control

    property string shown: ""
    /// Whether there is typed text that was neither committed nor given up.
    property bool typed: false

    /// The user has entered a text other than `shown`.
    signal committed(text: string)

    function commit() {
        if (inputMethodComposing)
            Qt.inputMethod.commit()
        if (!typed)
            return
        typed = false
        if (text !== shown)
            committed(text)
        follow() // The model may refuse or change the text.
    }
    function follow() {
        if (!typed && text !== shown)
            text = shown
    }

    Component.onCompleted: follow()
    onShownChanged: follow()
    onTextEdited: typed = true
    onEditingFinished: commit()
    onGivenUp: {
        typed = false
        follow()
    }
}
