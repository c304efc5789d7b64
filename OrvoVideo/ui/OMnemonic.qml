import QtQuick

/// The text of a menu or entry; underlines the letter after "&".
Text {
    property string label: ""

    text: label.replace(/&(?!&)(.)/, "<u>$1</u>").replace("&&", "&amp;")
    textFormat: Text.StyledText
    color: Theme.text
    font.pixelSize: Theme.bodySize
    verticalAlignment: Text.AlignVCenter
    Accessible.ignored: true
}
