import QtQuick

/// A number field that accepts decimal comma or point. Up and Down step the value. `edited` reports a number that was
/// entered.
OEntry {
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
    function step(by: real) {
        commit()
        enter(value + by)
    }

    implicitWidth: 76
    horizontalAlignment: TextInput.AlignRight
    inputMethodHints: Qt.ImhFormattedNumbersOnly
    font: Theme.digits(Theme.bodySize)
    shown: shownText()
    validator: RegularExpressionValidator {
        regularExpression: /-?[0-9]*[.,]?[0-9]*/
    }
    Accessible.role: Accessible.SpinBox
    Accessible.description: text
    Keys.onUpPressed: step(stepSize)
    Keys.onDownPressed: step(-stepSize)
    onCommitted: text => {
        const number = parseFloat(text.replace(",", "."))
        if (Number.isFinite(number))
            enter(number)
    }
}
