import QtQuick

/// A line of text that edits a value of the model. Follows `shown` until the user types. Commits the text when the field
/// loses focus, with Return, or by `commit`. Escape restores `shown`.
OTextField {
    id: control

    property string shown: ""
    /// Whether there is typed text that is neither committed nor discarded.
    property bool typed: false

    /// The user entered a text other than `shown`.
    signal committed(text: string)

    function commit() {
        if (inputMethodComposing)
            Qt.inputMethod.commit()
        if (!typed)
            return
        typed = false
        if (text !== shown)
            committed(text)
        follow() // The model may reject or change the text.
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
