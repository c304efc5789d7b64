import QtQuick
import QtQuick.Layouts
import Orvo.Ui

/// A note about the settings above it.
OLabel {
    Layout.fillWidth: true
    secondary: true
    font.pixelSize: Theme.captionSize
    wrapMode: Text.Wrap
    lineHeight: 1.25
}
