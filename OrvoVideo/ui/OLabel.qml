import QtQuick

/// A text. `secondary` for what explains or labels something else.
Text {
    property bool secondary: false

    color: secondary ? Theme.secondaryText : Theme.text
    linkColor: Theme.accentInk
    font.pixelSize: Theme.bodySize
    textFormat: Text.PlainText
    Accessible.role: Accessible.StaticText
    Accessible.name: text
}
