import QtQuick
import QtQuick.Layouts
import Orvo.Model
import Orvo.Ui

/// The OAuth client that the server uses for Drive.
SettingsGroup {
    id: root

    required property AppModel app

    title: "Google Drive"

    SettingsField {
        objectName: "oauthClient"
        name: "ID de cliente OAuth web"
        value: root.app.server.oauthClientID
        onEdited: text => root.app.server.oauthClientID = text
    }
    SettingsField {
        objectName: "oauthSecret"
        name: "Secreto del cliente"
        secure: true
        value: root.app.server.oauthClientSecret
        onEdited: text => root.app.server.oauthClientSecret = text
    }
    OButton {
        enabled: root.app.idle && root.app.server.serverURL.trim() !== "" && root.app.server.oauthClientID.trim() !== "" && root.app.server.oauthClientSecret.trim() !== ""
        text: "Guardar cliente en el servidor"
        onClicked: root.app.server.configureOAuth()
    }
    TextEdit {
        objectName: "returnAddress"
        Layout.fillWidth: true
        text: "Retorno: " + root.app.server.driveReturnAddress
        color: Theme.secondaryText
        selectionColor: Theme.accent
        selectedTextColor: Theme.inkOnAccent
        font.pixelSize: Theme.captionSize
        readOnly: true
        selectByMouse: true
        wrapMode: TextEdit.WrapAnywhere
        selectByKeyboard: true
        activeFocusOnTab: true
        Accessible.role: Accessible.StaticText
        Accessible.name: text
    }
    SettingsNote {
        text: Wording.here("El servidor guarda estas credenciales cifradas. Usa el permiso drive.file. El audio se transcribe en el Mac.")
    }
}
