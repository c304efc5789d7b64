import QtQuick

/// The caption of a section: "BIBLIOTECA".
OLabel {
    secondary: true
    font.pixelSize: Theme.captionSize
    font.weight: Font.DemiBold
    font.letterSpacing: 1
}
