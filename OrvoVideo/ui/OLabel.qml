import QtQuick

/// A label; `secondary` for captions and explanations.
Text {
    property bool secondary: false

    color: secondary ? Theme.secondaryText : Theme.text
    linkColor: Theme.accentInk
    font.pixelSize: Theme.bodySize
    textFormat: Text.PlainText
    Accessible.role: Accessible.StaticText
    Accessible.name: text
}
