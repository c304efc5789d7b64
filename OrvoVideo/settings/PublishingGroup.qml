import QtQuick
import QtQuick.Layouts
import Orvo.Model
import Orvo.Ui

/// The publishing server and its credential.
SettingsGroup {
    id: root

    required property AppModel app
    readonly property bool ready: app.idle && app.server.serverURL.trim() !== ""

    title: "Publicación"

    SettingsField {
        objectName: "server"
        name: "Servidor"
        placeholder: "https://video.ejemplo.es"
        value: root.app.server.serverURL
        onEdited: text => root.app.server.serverURL = text
    }
    SettingsField {
        objectName: "credential"
        name: "Credencial de administración"
        secure: true
        value: root.app.server.adminToken
        onEdited: text => root.app.server.adminToken = text
    }
    OLabel {
        objectName: "connectionStatus"
        Layout.fillWidth: true
        secondary: true
        text: root.app.server.connectionStatus
        wrapMode: Text.Wrap
    }
    OLabel {
        objectName: "settingsError"
        Layout.fillWidth: true
        visible: root.app.errorMessage !== ""
        text: root.app.errorMessage
        color: Theme.danger
        wrapMode: Text.Wrap
        Accessible.role: Accessible.AlertMessage
        Accessible.name: text
    }
    OLabel {
        Layout.fillWidth: true
        visible: root.app.busy && root.app.errorMessage === ""
        secondary: true
        text: root.app.status
        wrapMode: Text.Wrap
    }
    Flow {
        Layout.fillWidth: true
        spacing: Theme.space(2)

        OButton {
            prominent: true
            enabled: root.ready
            text: "Guardar y comprobar"
            onClicked: root.app.server.checkConnection()
        }
        OButton {
            implicitHeight: Theme.prominentHeight
            enabled: root.ready
            text: "Leer del llavero"
            onClicked: root.app.server.readServerCredential()
        }
        OButton {
            visible: root.app.server.usesDrive
            implicitHeight: Theme.prominentHeight
            enabled: root.ready
            text: "Conectar Google Drive"
            onClicked: root.app.server.connectDrive()
        }
    }
    SettingsNote {
        text: (root.app.server.usesDrive ? "Primero guarda y comprueba el servidor y su credencial; después guarda el cliente de Google Drive, conéctalo en el navegador y vuelve a comprobar. " : "") + "La credencial se guarda en el llavero de este escritorio (GNOME Keyring, KWallet u otro)."
    }
}
