import QtQuick
import OrvoVideo

/// A number to type, with decimal comma or point. `edited` tells a number that was entered; the arrows up and down step.
OTextField {
    id: control

    property real value: 0
    property real from: 0
    property real to: Number.POSITIVE_INFINITY
    property real stepSize: 0.1
    property int decimals: 2

    signal edited(real value)

    function shownText(): string {
        return Number(value).toLocaleString(Qt.locale("es_ES"), "f", decimals).replace(/\./g, "")
    }
    function enter(number: real) {
        edited(Math.min(Math.max(number, from), to))
    }

    implicitWidth: 76
    horizontalAlignment: TextInput.AlignRight
    inputMethodHints: Qt.ImhFormattedNumbersOnly
    font: Theme.digits(Theme.bodySize)
    text: shownText()
    validator: RegularExpressionValidator {
        regularExpression: /-?[0-9]*[.,]?[0-9]*/
    }
    Accessible.role: Accessible.SpinBox
    Accessible.description: text
    Keys.onUpPressed: enter(value + stepSize)
    Keys.onDownPressed: enter(value - stepSize)
    onEditingFinished: {
        const number = parseFloat(text.replace(",", "."))
        if (Number.isFinite(number) && text !== shownText())
            enter(number)
        text = Qt.binding(shownText)
    }
}
