import QtQuick
import QtQuick.Layouts
import Orvo.Ui

/// Related settings under a title.
ColumnLayout {
    id: root

    property string title: ""
    default property alias content: column.data

    spacing: Theme.space(2)
    Accessible.role: Accessible.Grouping
    Accessible.name: title

    OLabel {
        Layout.fillWidth: true
        text: root.title
        font.pixelSize: Theme.headlineSize
        font.weight: Font.DemiBold
        Accessible.role: Accessible.Heading
    }
    OPanel {
        Layout.fillWidth: true
        padding: Theme.space(4)

        contentItem: ColumnLayout {
            id: column

            spacing: Theme.space(3)
        }
    }
}
