import QtQuick
import QtQuick.Controls.Basic

MenuSeparator {
    padding: 0
    topPadding: Theme.space(1)
    bottomPadding: Theme.space(1)

    contentItem: Rectangle {
        implicitHeight: 1
        color: Theme.line
    }
}
