pragma Singleton

import QtQuick

/// Colours and sizes of all views.
QtObject {
    readonly property bool dark: Appearance.dark

    // Colours.
    readonly property color window: dark ? "#15131A" : "#FAF9FC"
    readonly property color panel: dark ? "#1D1A24" : "#FFFFFF"
    readonly property color raised: dark ? "#262230" : "#F2EFF8"
    readonly property color line: dark ? "#352F42" : "#E4E0EC"
    readonly property color text: dark ? "#F3F0FA" : "#1B1822"
    readonly property color secondaryText: dark ? "#A9A3B8" : "#6A6478"
    readonly property color accent: "#B087FF"
    readonly property color inkOnAccent: "#17121F"
    /// The accent colour for text and lines.
    readonly property color accentInk: dark ? "#B087FF" : "#6B3FD6"
    readonly property color selection: Qt.alpha("#2EC4B6", 0.28)
    readonly property color selectionEdge: "#2EC4B6"
    readonly property color cut: raised
    readonly property color cutEdge: "#FF9F43"
    readonly property color danger: dark ? "#FF4D4D" : "#D92D2D"
    /// Text about a state that needs the user.
    readonly property color stateInk: dark ? "#FF9F43" : "#A85A00"
    /// The edge of a control without any other visible shape.
    readonly property color edge: dark ? "#746C86" : "#8C8599"
    /// An icon that reports success.
    readonly property color goodInk: dark ? "#2EC4B6" : "#12857A"
    readonly property color shade: Qt.alpha("#000000", dark ? 0.55 : 0.35)

    // Sizes, in device-independent pixels.
    readonly property int captionSize: 11
    readonly property int bodySize: 13
    readonly property int headlineSize: 15
    readonly property int titleSize: 22
    readonly property int largeTitleSize: 34
    readonly property int unit: 4
    readonly property int controlHeight: 32
    readonly property int prominentHeight: 36
    readonly property int radius: 8
    readonly property int panelRadius: 12
    readonly property int iconSize: 16
    readonly property int largeIconSize: 20

    /// Duration of an animation in milliseconds; 0 when the desktop requests none.
    readonly property int movement: Appearance.reducedMotion ? 0 : 150

    function space(steps: real): real {
        return steps * unit
    }

    /// A font with tabular figures, so that changing numbers keep their width.
    function digits(size: int): font {
        return Qt.font({
            "pixelSize": size,
            "features": {
                "tnum": 1
            }
        })
    }
}
