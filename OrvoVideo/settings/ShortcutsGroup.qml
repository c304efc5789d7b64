import QtQuick
import QtQuick.Layouts
import Orvo.Model
import Orvo.Ui

/// The global shortcuts of a recording.
SettingsGroup {
    id: root

    required property ShortcutManager shortcuts

    title: "Atajos globales"

    ShortcutRow {
        Layout.fillWidth: true
        title: "Grabar / terminar"
        action: ShortcutManager.Record
        shortcuts: root.shortcuts
    }
    ShortcutRow {
        Layout.fillWidth: true
        title: "Pausar / continuar"
        action: ShortcutManager.Pause
        shortcuts: root.shortcuts
    }
    ShortcutRow {
        Layout.fillWidth: true
        title: "Zoom en el cursor"
        action: ShortcutManager.Zoom
        shortcuts: root.shortcuts
    }
    OLabel {
        Layout.fillWidth: true
        visible: text !== ""
        text: Wording.keys(root.shortcuts.supportText)
        color: Theme.stateInk
        font.pixelSize: Theme.captionSize
        wrapMode: Text.Wrap
    }
    OLabel {
        Layout.fillWidth: true
        secondary: true
        text: "Pulsa Cambiar y después una combinación con al menos dos modificadores. Los atajos de pestañas se ajustan en la configuración de extensiones de Chrome o Brave."
        font.pixelSize: Theme.captionSize
        wrapMode: Text.Wrap
        lineHeight: 1.25
    }
}
