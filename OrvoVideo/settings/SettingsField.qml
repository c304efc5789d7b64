import QtQuick
import QtQuick.Layouts
import Orvo.Ui

/// A labelled line of text, bound to a value of the model. `secure` hides the text until the user shows it.
ColumnLayout {
    id: root

    property string name: ""
    property string value: ""
    property string placeholder: ""
    property bool secure: false
    property bool shown: false

    signal edited(text: string)

    Layout.fillWidth: true
    spacing: Theme.space(1)

    OLabel {
        text: root.name
        font.pixelSize: Theme.captionSize
        secondary: true
        Accessible.ignored: true
    }
    RowLayout {
        spacing: Theme.space(2)

        OTextField {
            id: field

            objectName: root.objectName + "Field"
            Layout.fillWidth: true
            name: root.name
            placeholderText: root.placeholder
            text: root.value
            echoMode: root.secure && !root.shown ? TextInput.Password : TextInput.Normal
            passwordMaskDelay: 0
            // Input methods must not learn secrets.
            inputMethodHints: Qt.ImhNoPredictiveText | Qt.ImhNoAutoUppercase | (root.secure ? Qt.ImhSensitiveData : Qt.ImhNone)
            onTextEdited: root.edited(text)
        }
        OIconButton {
            visible: root.secure
            iconName: root.shown ? "eye-off" : "eye"
            text: root.shown ? "Ocultar" : "Mostrar"
            onClicked: root.shown = !root.shown
        }
    }
    onValueChanged: {
        if (field.text !== value)
            field.text = value
    }
}
