import QtQuick

/// One of the outline icons, `size` wide and high, in the colour of the text around it.
IconImage {
    property int size: Theme.iconSize

    color: Theme.text
    implicitWidth: size
    implicitHeight: size
}
