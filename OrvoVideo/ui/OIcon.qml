import QtQuick

/// An outline icon, `size` wide and high, in the text colour.
IconImage {
    property int size: Theme.iconSize

    color: Theme.text
    implicitWidth: size
    implicitHeight: size
}
