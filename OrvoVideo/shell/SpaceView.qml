pragma ComponentBehavior: Bound

import QtQuick
import QtQuick.Controls.Basic
import QtQuick.Layouts
import Orvo.Model
import Orvo.Ui

/// The disk space that the library uses, and the part that can be freed.
Popup {
    id: root

    required property AppModel app
    readonly property LibraryCare care: app.care

    anchors.centerIn: parent
    width: Math.min(560, (parent ? parent.width : 560) - Theme.space(8))
    height: Math.min(implicitHeight, (parent ? parent.height : 800) - Theme.space(6))
    modal: true
    focus: true
    padding: Theme.space(6)
    closePolicy: Popup.CloseOnEscape
    onAboutToShow: care.measure()
    onOpened: closeButton.forceActiveFocus(Qt.TabFocusReason)

    background: Rectangle {
        color: Theme.panel
        radius: Theme.panelRadius
        border.color: Theme.line
    }
    Overlay.modal: Rectangle {
        color: Theme.shade
    }

    contentItem: ColumnLayout {
        spacing: Theme.space(4)
        Accessible.role: Accessible.Dialog
        Accessible.name: "¿Qué ocupa espacio?"

        OLabel {
            text: "¿Qué ocupa espacio?"
            font.pixelSize: Theme.titleSize
            font.weight: Font.Bold
            Accessible.role: Accessible.Heading
        }
        OLabel {
            objectName: "total"
            Layout.fillWidth: true
            secondary: true
            text: root.care.measuring && root.care.bytes === 0 ? "Midiendo…" : "La biblioteca ocupa " + Wording.size(root.care.bytes) + "."
        }
        OCaption {
            text: "SE PUEDE LIBERAR"
        }
        Repeater {
            model: root.care.freeable.length

            RowLayout {
                id: row

                required property int index
                /// Updated in place after each measurement, so that the row's button keeps the focus.
                readonly property var modelData: root.care.freeable[index]

                Layout.fillWidth: true
                spacing: Theme.space(3)

                Column {
                    Layout.fillWidth: true
                    spacing: 2

                    OLabel {
                        width: parent.width
                        text: row.modelData.label
                        elide: Text.ElideRight
                    }
                    OLabel {
                        width: parent.width
                        secondary: true
                        text: row.modelData.note
                        font.pixelSize: Theme.captionSize
                        elide: Text.ElideRight
                    }
                }
                OLabel {
                    secondary: true
                    text: Wording.size(row.modelData.bytes)
                    font: Theme.digits(Theme.bodySize)
                }
                OButton {
                    text: "Liberar"
                    enabled: row.modelData.bytes > 0 && !root.care.measuring
                    Accessible.name: "Liberar: " + row.modelData.label
                    onClicked: root.care.free(row.modelData.kind)
                }
            }
        }
        OCaption {
            text: "LO QUE MÁS OCUPA"
        }
        ListView {
            id: list

            Layout.fillWidth: true
            Layout.fillHeight: true
            implicitHeight: Math.min(contentHeight, 200)
            clip: true
            activeFocusOnTab: count > 0
            boundsBehavior: Flickable.StopAtBounds
            model: root.care.largest
            Accessible.role: Accessible.List
            Accessible.name: "Lo que más ocupa"
            ScrollBar.vertical: OScrollBar {}

            delegate: Item {
                id: entry

                required property var modelData

                width: ListView.view.width
                height: 28
                Accessible.role: Accessible.ListItem
                Accessible.name: modelData.title + ", " + size.text

                Rectangle {
                    y: parent.height - 4
                    width: root.care.bytes > 0 ? parent.width * entry.modelData.bytes / root.care.bytes : 0
                    height: 2
                    radius: 1
                    color: Theme.accentInk
                }
                OLabel {
                    width: parent.width - size.width - Theme.space(6)
                    anchors.verticalCenter: parent.verticalCenter
                    text: entry.modelData.title
                    elide: Text.ElideRight
                    Accessible.ignored: true
                }
                OLabel {
                    id: size

                    anchors.right: parent.right
                    anchors.rightMargin: Theme.space(3)
                    anchors.verticalCenter: parent.verticalCenter
                    secondary: true
                    text: Wording.size(entry.modelData.bytes)
                    font: Theme.digits(Theme.bodySize)
                    Accessible.ignored: true
                }
            }
        }
        OButton {
            id: closeButton

            Layout.alignment: Qt.AlignRight
            text: "Cerrar"
            onClicked: root.close()
        }
    }
}
