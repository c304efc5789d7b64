import QtQuick

/// The text of a menu or of its entry, whose letter behind "&" is underlined.
Text {
    property string label: ""

    text: label.replace(/&(?!&)(.)/, "<u>$1</u>").replace("&&", "&amp;")
    textFormat: Text.StyledText
    color: Theme.text
    font.pixelSize: Theme.bodySize
    verticalAlignment: Text.AlignVCenter
    Accessible.ignored: true
}
