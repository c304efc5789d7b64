import QtQuick
import QtQuick.Controls.Basic
import Orvo.Model
import Orvo.Ui

/// The settings window.
ApplicationWindow {
    id: root

    required property AppModel app
    /// 0 general, 1 shortcuts.
    property alias tab: view.tab

    title: "Ajustes"
    width: 560
    height: 640
    minimumWidth: 420
    minimumHeight: 320
    color: Theme.window
    font.pixelSize: Theme.bodySize

    FocusFollower {
        window: root
    }
    SettingsView {
        id: view

        anchors.fill: parent
        app: root.app
    }
    Shortcut {
        sequences: [StandardKey.Cancel, StandardKey.Close]
        onActivated: root.close()
    }
}
