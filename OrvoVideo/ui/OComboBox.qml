pragma ComponentBehavior: Bound

import QtQuick
import QtQuick.Controls.Basic

/// A choice from a drop-down list.
ComboBox {
    id: control

    /// The accessible name.
    property string name: ""

    implicitHeight: Theme.controlHeight
    implicitWidth: 150
    leftPadding: Theme.space(2.5)
    rightPadding: Theme.space(8)
    hoverEnabled: true
    focusPolicy: Qt.StrongFocus
    opacity: enabled ? 1 : 0.45
    font.pixelSize: Theme.bodySize
    Accessible.role: Accessible.ComboBox
    Accessible.name: name
    Accessible.description: displayText

    contentItem: Text {
        text: control.displayText
        color: Theme.text
        font: control.font
        fontSizeMode: Text.HorizontalFit // Some systems only have wide fonts.
        minimumPixelSize: 9
        elide: Text.ElideRight
        verticalAlignment: Text.AlignVCenter
        Accessible.ignored: true
    }
    indicator: OIcon {
        x: control.width - width - Theme.space(2)
        y: (control.height - height) / 2
        name: "chevron-down"
        color: Theme.secondaryText
    }
    background: Rectangle {
        radius: Theme.radius
        color: control.hovered ? Theme.raised : Theme.panel
        border.color: Theme.edge

        FocusRing {
            shown: control.visualFocus
        }
    }
    delegate: ItemDelegate {
        id: entry

        required property int index

        width: ListView.view ? ListView.view.width : implicitWidth
        height: Theme.controlHeight
        leftPadding: Theme.space(2.5)
        rightPadding: Theme.space(2.5)
        text: control.textAt(index)
        highlighted: control.highlightedIndex === index
        Accessible.name: text

        contentItem: Text {
            text: entry.text
            color: Theme.text
            font.pixelSize: Theme.bodySize
            font.weight: control.currentIndex === entry.index ? Font.DemiBold : Font.Normal
            elide: Text.ElideRight
            verticalAlignment: Text.AlignVCenter
            Accessible.ignored: true
        }
        background: Rectangle {
            radius: Theme.radius - 2
            color: entry.highlighted ? Theme.raised : "transparent"
        }
    }
    popup: Popup {
        y: control.height + 2
        width: control.width
        implicitHeight: Math.min(contentItem.implicitHeight + 8, 320)
        padding: 4

        contentItem: ListView {
            clip: true
            implicitHeight: contentHeight
            model: control.popup.visible ? control.delegateModel : null
            currentIndex: control.highlightedIndex
            ScrollBar.vertical: OScrollBar {}
        }
        background: Rectangle {
            radius: Theme.radius
            color: Theme.panel
            border.color: Theme.line
        }
    }
}
