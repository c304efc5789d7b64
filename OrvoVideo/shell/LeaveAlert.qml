pragma ComponentBehavior: Bound

import QtQuick
import Orvo.Model
import Orvo.Ui

/// Asks before the window closes while something runs: stay, cancel it, or leave when it is done. When the work ends before the
/// answer, there is nothing to ask: the window closes.
Alert {
    id: root

    required property AppModel app
    /// The author agreed to cancel what runs.
    property bool agreed: false
    /// The window closes when the work is done.
    property bool later: false

    /// The window closes now.
    signal leaving

    /// Whether the author agreed. An agreement holds for one exit: the next one may cancel another operation.
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
            if (root.app.errorMessage === "") // A failure is read first.
                Qt.callLater(root.leaving)
        }
    }
}
