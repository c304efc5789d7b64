pragma ComponentBehavior: Bound

import QtQuick
import Orvo.Model
import Orvo.Ui

/// Asks before the window closes during an operation: stay, cancel it, or leave when it is done. If the operation succeeds
/// before the answer, the window closes without one.
Alert {
    id: root

    required property AppModel app
    /// The user agreed to cancel the operation.
    property bool agreed: false
    /// The window closes when the operation ends.
    property bool later: false

    /// Asks the window to close.
    signal leaving

    /// Whether the user agreed. Resets the answer, because the next exit may cancel another operation.
    function takeAgreement(): bool {
        const was = agreed
        agreed = false
        return was
    }

    title: "¿Salir ahora?"
    message: app.status + "\nSi sales, " + (app.queue.waiting.length > 0 ? "esto y lo que espera detrás se cancela. " : "esta operación se cancela. ")
        + (app.unsavedChanges ? "Tus ediciones se guardan al salir." : "Tus ediciones están guardadas.")
    acceptText: "Cancelar la operación y salir"
    rejectText: "Seguir aquí"
    otherText: "Terminar y salir después"
    destructive: true
    onRejected: later = false
    onOtherChosen: later = true
    onAccepted: {
        agreed = true
        leaving()
    }

    readonly property Connections work: Connections {
        target: root.app

        function onBusyChanged() {
            const asks = root.visible && !root.answered
            if (root.app.busy || !(root.later || asks))
                return
            root.later = false
            if (asks) {
                root.answered = true
                root.close()
            }
            if (root.app.errorMessage === "") // After a failure, stays open to show it.
                Qt.callLater(root.leaving)
        }
    }
}
