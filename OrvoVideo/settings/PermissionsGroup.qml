import QtQuick
import QtQuick.Layouts
import Orvo.Model
import Orvo.Ui

/// The permissions that the desktop grants.
SettingsGroup {
    id: root

    required property AppModel app

    title: Wording.here("Permisos del Mac")

    Flow {
        Layout.fillWidth: true
        spacing: Theme.space(2)

        OButton {
            text: "Abrir privacidad de pantalla"
            onClicked: root.app.installation.openScreenPrivacy()
        }
        OButton {
            text: "Permitir marcas y atajos globales"
            onClicked: root.app.installation.allowGlobalInput()
        }
    }
    SettingsNote {
        objectName: "permissions"
        text: root.app.installation.permissionsText
    }
}
