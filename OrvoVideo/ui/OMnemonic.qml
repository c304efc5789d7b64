import QtQuick

/// The text of a menu or entry; underlines the letter after "&". "&&" is an ampersand.
Text {
    property string label: ""

    text: label.replace(/&&/g, "\u0001").replace(/</g, "\u0002").replace(/&(.)/, "<u>$1</u>").replace(/\u0001/g, "&amp;").replace(/\u0002/g, "&lt;")
    textFormat: Text.StyledText
    color: Theme.text
    font.pixelSize: Theme.bodySize
    verticalAlignment: Text.AlignVCenter
    Accessible.ignored: true
}
