pragma ComponentBehavior: Bound

import QtQuick
import QtQuick.Controls.Basic
import QtQuick.Layouts
import Orvo.Model
import Orvo.Ui

/// The undo steps of the open project. A click, or the arrows and Return, go to a step.
Popup {
    id: root

    required property AppModel app

    width: 320
    padding: Theme.space(3)
    focus: true
    closePolicy: Popup.CloseOnEscape | Popup.CloseOnPressOutside
    onOpened: {
        list.currentIndex = app.editing.steps.position
        list.positionViewAtIndex(list.currentIndex, ListView.Contain)
        list.forceActiveFocus(Qt.PopupFocusReason)
    }

    background: Rectangle {
        color: Theme.panel
        border.color: Theme.line
        radius: Theme.panelRadius
    }
    contentItem: ColumnLayout {
        spacing: Theme.space(2)

        OCaption {
            text: "HISTORIAL"
            Accessible.role: Accessible.Heading
        }
        ListView {
            id: list

            function go(row: int) {
                currentIndex = row
                root.app.editing.goToStep(row)
            }

            objectName: "historyList"
            Layout.fillWidth: true
            implicitHeight: Math.min(contentHeight, 360)
            clip: true
            activeFocusOnTab: true
            boundsBehavior: Flickable.StopAtBounds
            model: root.app.editing.steps
            Accessible.role: Accessible.List
            Accessible.name: "Historial"
            ScrollBar.vertical: OScrollBar {}
            Keys.onReturnPressed: go(currentIndex)
            Keys.onEnterPressed: go(currentIndex)
            Keys.onSpacePressed: go(currentIndex)

            // Follows undo and redo by keys.
            Connections {
                target: root.app.editing.steps

                function onPositionChanged() {
                    list.currentIndex = root.app.editing.steps.position
                    list.positionViewAtIndex(list.currentIndex, ListView.Contain)
                }
            }

            delegate: Rectangle {
                id: entry

                required property int index
                required property string name
                required property bool undone
                readonly property bool present: index === root.app.editing.steps.position
                readonly property string title: name.charAt(0).toUpperCase() + name.slice(1)

                width: list.width - (list.contentHeight > list.height ? Theme.space(3) : 0)
                height: 28
                radius: Theme.radius - 2
                color: present ? Theme.selection : area.containsMouse ? Theme.raised : "transparent"
                border.width: ListView.isCurrentItem && list.activeFocus ? 1.5 : 0
                border.color: Theme.accentInk
                Accessible.role: Accessible.ListItem
                Accessible.name: title + (present ? ", versión actual" : undone ? ", deshecho" : "")
                Accessible.focusable: true
                Accessible.focused: ListView.isCurrentItem && list.activeFocus
                Accessible.selected: present
                Accessible.onPressAction: list.go(index)

                OLabel {
                    anchors.verticalCenter: parent.verticalCenter
                    x: Theme.space(2)
                    width: parent.width - 2 * x
                    text: entry.title
                    secondary: entry.undone
                    font.strikeout: entry.undone
                    elide: Text.ElideRight
                }
                MouseArea {
                    id: area

                    anchors.fill: parent
                    hoverEnabled: true
                    onClicked: list.go(entry.index)
                }
            }
        }
    }
}
