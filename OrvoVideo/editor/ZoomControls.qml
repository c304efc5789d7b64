pragma ComponentBehavior: Bound

import QtQuick
import QtQuick.Layouts
import Orvo.Model
import Orvo.Ui

/// The card of one zoom point.
OPanel {
    id: root

    required property AppModel app
    /// The zoom point; its centre is in fractions of the frame.
    required property var model

    /// Requests framing of this zoom point.
    signal frameWanted()

    padding: Theme.space(3)
    Accessible.role: Accessible.Grouping
    Accessible.name: "Zoom en " + Wording.exactTime(model.time)

    component EventSlider: OSlider {
        required property string key

        Layout.fillWidth: true
        onEdited: value => root.app.editing.setEventValue(root.model.eventId, key, value)
        onGesture: active => root.app.setGesture(active)
    }

    contentItem: ColumnLayout {
        spacing: Theme.space(1)

        RowLayout {
            OButton {
                Layout.leftMargin: -Theme.space(1)
                leftPadding: Theme.space(1)
                rightPadding: Theme.space(1)
                plain: true
                text: Wording.exactTime(root.model.time) + " → " + Wording.exactTime(root.model.time + root.model.duration)
                font: Theme.digits(Theme.bodySize)
                Accessible.description: "Ir a este zoom"
                onClicked: {
                    root.app.seek(root.model.time + root.model.duration / 2)
                    root.frameWanted()
                }
            }
            Item {
                Layout.fillWidth: true
            }
            OIconButton {
                iconName: "move"
                text: "Encuadrar en la imagen"
                onClicked: root.frameWanted()
            }
            OIconButton {
                iconName: "trash-2"
                text: "Eliminar zoom"
                destructive: true
                onClicked: root.app.editing.removeEvent(root.model.eventId)
            }
        }
        EventSlider {
            label: "Aumento"
            key: "scale"
            from: 1
            to: 4
            unitText: "×"
            value: root.model.scale
        }
        EventSlider {
            label: "Centro X"
            key: "x"
            displayFactor: 100
            unitText: "%"
            value: root.model.x
        }
        EventSlider {
            label: "Centro Y"
            key: "y"
            displayFactor: 100
            unitText: "%"
            value: root.model.y
        }
    }
}
