import QtQuick
import QtQuick.Layouts
import Orvo.Model
import Orvo.Ui

/// The extension that records a browser's tabs.
SettingsGroup {
    id: root

    required property AppModel app

    title: "Extensión Chrome / Brave"

    OButton {
        text: "Abrir carpeta de la extensión"
        iconName: "folder-open"
        onClicked: root.app.installation.openExtensionFolder()
    }
    SettingsNote {
        text: "En chrome://extensions o brave://extensions, activa Modo desarrollador, pulsa Cargar descomprimida y elige esta carpeta."
    }
}
