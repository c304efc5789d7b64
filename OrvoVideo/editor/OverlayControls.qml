pragma ComponentBehavior: Bound

import QtQuick
import QtQuick.Layouts
import Orvo.Model
import Orvo.Ui

/// The card of one overlay: a text or an image.
OPanel {
    id: root

    required property AppModel app
    /// The overlay; positions are fractions of the frame.
    required property var model
    readonly property bool isText: model.kind === "text"

    padding: Theme.space(3)
    Accessible.role: Accessible.Grouping
    Accessible.name: (isText ? "Texto «" + model.content + "»" : "Imagen") + ", desde " + Wording.time(model.start)

    component OverlaySlider: OSlider {
        required property string key

        Layout.fillWidth: true
        onEdited: value => root.app.editing.setOverlayValue(root.model.overlayId, key, value)
        onGesture: active => root.app.setGesture(active)
    }
    component PlaceSlider: OverlaySlider {
        displayFactor: 100
        unitText: "%"
    }

    contentItem: ColumnLayout {
        spacing: Theme.space(1)

        RowLayout {
            OEntry {
                Layout.fillWidth: true
                visible: root.isText
                plain: true
                name: "Texto en pantalla"
                shown: root.isText ? root.model.content : ""
                onCommitted: text => root.app.editing.setOverlayText(root.model.overlayId, text)
            }
            OLabel {
                Layout.fillWidth: true
                visible: !root.isText
                text: "Imagen"
            }
            OIconButton {
                iconName: "trash-2"
                text: root.isText ? "Eliminar texto" : "Eliminar imagen"
                destructive: true
                onClicked: root.app.editing.removeOverlay(root.model.overlayId)
            }
        }
        OverlaySlider {
            label: "Desde"
            key: "start"
            to: Math.max(root.app.project.duration, 0.1)
            unitText: "s"
            value: root.model.start
        }
        OverlaySlider {
            label: "Hasta"
            key: "end"
            to: Math.max(root.app.project.duration, 0.1)
            unitText: "s"
            value: root.model.end
        }
        PlaceSlider {
            label: "Posición horizontal"
            key: "x"
            value: root.model.x
        }
        PlaceSlider {
            label: "Posición vertical"
            key: "y"
            value: root.model.y
        }
        PlaceSlider {
            label: "Ancho"
            key: "width"
            from: 0.02
            visible: !root.isText
            value: root.model.width
        }
    }
}
