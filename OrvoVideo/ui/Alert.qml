import QtQuick
import QtQuick.Controls.Basic

/// A modal message with one to three buttons. A destructive choice is never the default one.
Popup {
    id: root

    property string title: ""
    property string message: ""
    property string acceptText: "Aceptar"
    /// If empty, there is one button.
    property string rejectText: ""
    /// A third choice; if empty, there is none.
    property string otherText: ""
    property bool destructive: false
    readonly property bool staysSafe: destructive && rejectText !== ""
    /// Opens and closes the alert by a binding.
    property bool shown: false
    property bool answered: false
    /// The first line of a long report, which scrolls below it.
    readonly property string shortMessage: Wording.cause(message)

    signal accepted()
    signal rejected()
    signal otherChosen()

    function answer(yes: bool) {
        answered = true
        close()
        if (yes)
            accepted()
        else
            rejected()
    }
    function chooseOther() {
        answered = true
        close()
        otherChosen()
    }

    onShownChanged: shown ? open() : close()
    onAboutToShow: answered = false
    onOpened: (staysSafe ? rejectButton : acceptButton).forceActiveFocus(Qt.TabFocusReason)
    onClosed: {
        if (!answered)
            answer(false)
    }

    parent: Overlay.overlay
    anchors.centerIn: parent
    width: Math.min(otherText ? 620 : 440, (parent ? parent.width : 440) - Theme.space(8))
    modal: true
    focus: true
    padding: Theme.space(6)
    closePolicy: Popup.CloseOnEscape

    background: Rectangle {
        color: Theme.panel
        radius: Theme.panelRadius
        border.color: Theme.line
    }
    Overlay.modal: Rectangle {
        color: Theme.shade
    }

    contentItem: Column {
        spacing: Theme.space(4)
        Accessible.role: Accessible.AlertMessage
        Accessible.name: root.title
        Accessible.description: Wording.here(root.message)

        Row {
            width: parent.width
            spacing: Theme.space(3)

            OIcon {
                anchors.verticalCenter: parent.verticalCenter
                name: "triangle-alert"
                size: Theme.largeIconSize
                color: root.rejectText ? Theme.cutEdge : Theme.danger
            }
            OLabel {
                text: root.title
                font.pixelSize: Theme.headlineSize
                font.weight: Font.DemiBold
            }
        }
        OLabel {
            width: parent.width
            text: Wording.here(root.shortMessage)
            wrapMode: Text.Wrap
            elide: Text.ElideRight
            maximumLineCount: 16
            lineHeight: 1.25
        }
        ScrollView {
            id: detailsView

            objectName: "details"
            width: parent.width
            height: Math.min(implicitHeight, 200)
            visible: root.shortMessage !== root.message
            ScrollBar.vertical: OScrollBar {
                parent: detailsView
                x: detailsView.width - width
                height: detailsView.height
            }
            background: Rectangle {
                color: Theme.raised
                radius: Theme.radius
                border.width: detailsText.activeFocus ? 2 : 0
                border.color: Theme.accentInk
            }

            TextArea {
                id: detailsText

                objectName: "detailsText"
                width: detailsView.availableWidth
                readOnly: true
                selectByMouse: true
                selectByKeyboard: true
                text: root.message
                color: Theme.secondaryText
                selectionColor: Theme.accent
                selectedTextColor: Theme.inkOnAccent
                font.pixelSize: Theme.captionSize
                wrapMode: TextEdit.Wrap
                Accessible.name: "Detalles"
            }
        }
        Row {
            anchors.right: parent.right
            spacing: Theme.space(2)

            OButton {
                objectName: "copy"
                visible: detailsView.visible
                implicitHeight: Theme.prominentHeight
                text: "Copiar"
                onClicked: {
                    detailsText.selectAll()
                    detailsText.copy()
                    detailsText.deselect()
                }
            }
            OButton {
                visible: root.otherText !== ""
                implicitHeight: Theme.prominentHeight
                text: root.otherText
                onClicked: root.chooseOther()
            }
            OButton {
                id: rejectButton

                visible: root.rejectText !== ""
                prominent: root.staysSafe
                implicitHeight: Theme.prominentHeight
                text: root.rejectText
                onClicked: root.answer(false)
            }
            OButton {
                id: acceptButton

                objectName: "accept"
                prominent: !root.staysSafe
                implicitHeight: Theme.prominentHeight
                destructive: root.destructive
                text: root.acceptText
                onClicked: root.answer(true)
            }
        }
    }
}
