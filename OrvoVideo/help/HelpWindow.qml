pragma ComponentBehavior: Bound

import QtQuick
import QtQuick.Controls.Basic
import QtQuick.Layouts
import Orvo.Model
import Orvo.Ui

/// The help window: the guide and information about the application.
ApplicationWindow {
    id: root

    required property AppModel app
    /// 0 the guide, 1 about.
    property alias tab: tabs.currentIndex

    function showGuide() {
        tab = 0
        searchField.forceActiveFocus()
    }

    title: "Ayuda"
    width: 900
    height: 680
    minimumWidth: 560
    minimumHeight: 360
    color: Theme.window
    font.pixelSize: Theme.bodySize

    FocusFollower {
        window: root
    }
    Shortcut {
        sequences: [StandardKey.Cancel, StandardKey.Close]
        onActivated: root.close()
    }
    Shortcut {
        sequences: [StandardKey.Find]
        onActivated: root.showGuide()
    }
    Guide {
        id: guide

        search: searchField.text
    }

    ColumnLayout {
        anchors.fill: parent
        anchors.margins: Theme.space(4)
        spacing: Theme.space(3)

        OSegmented {
            id: tabs

            objectName: "helpTabs"
            Layout.alignment: Qt.AlignHCenter
            name: "Ayuda"
            model: ["Guía", "Acerca de"]
        }
        StackLayout {
            Layout.fillWidth: true
            Layout.fillHeight: true
            currentIndex: tabs.currentIndex

            RowLayout {
                spacing: Theme.space(4)

                ColumnLayout {
                    Layout.preferredWidth: 220
                    Layout.maximumWidth: 220
                    Layout.fillHeight: true
                    spacing: Theme.space(2)

                    OTextField {
                        id: searchField

                        objectName: "guideSearch"
                        Layout.fillWidth: true
                        name: "Buscar en la guía"
                        placeholderText: "Buscar en la guía"
                    }
                    OLabel {
                        objectName: "guideFound"
                        Layout.fillWidth: true
                        visible: searchField.text !== ""
                        secondary: true
                        text: guide.count === 0 ? "No se ha encontrado nada. Prueba con otra palabra." : guide.count === 1 ? "1 apartado" : guide.count + " apartados"
                        font.pixelSize: Theme.captionSize
                        wrapMode: Text.Wrap
                    }
                    ListView {
                        id: contents

                        objectName: "guideContents"
                        Layout.fillWidth: true
                        Layout.fillHeight: true
                        clip: true
                        model: guide
                        boundsBehavior: Flickable.StopAtBounds
                        keyNavigationEnabled: true
                        activeFocusOnTab: true
                        currentIndex: pages.indexAt(20, pages.contentY + 20)
                        Accessible.role: Accessible.List
                        Accessible.name: "Apartados"
                        Keys.onDownPressed: pages.show(Math.min(count - 1, currentIndex + 1))
                        Keys.onUpPressed: pages.show(Math.max(0, currentIndex - 1))

                        delegate: ItemDelegate {
                            id: entry

                            required property int index
                            required property string title
                            required property bool chapter

                            width: contents.width
                            height: chapter ? 34 : 28
                            leftPadding: Theme.space(chapter ? 2 : 5)
                            focusPolicy: Qt.NoFocus
                            text: title
                            Accessible.role: Accessible.ListItem
                            Accessible.name: title
                            onClicked: pages.show(index)

                            contentItem: OLabel {
                                text: entry.title
                                elide: Text.ElideRight
                                verticalAlignment: Text.AlignVCenter
                                font.weight: entry.chapter ? Font.DemiBold : Font.Normal
                                color: entry.index === contents.currentIndex ? Theme.accentInk : entry.chapter ? Theme.text : Theme.secondaryText
                            }
                            background: Rectangle {
                                radius: Theme.radius
                                color: entry.hovered || entry.index === contents.currentIndex ? Theme.raised : "transparent"
                            }
                        }
                    }
                }
                ListView {
                    id: pages

                    function show(index: int) {
                        positionViewAtIndex(index, ListView.Beginning)
                    }

                    objectName: "guidePages"
                    Layout.fillWidth: true
                    Layout.fillHeight: true
                    clip: true
                    model: guide
                    spacing: Theme.space(5)
                    boundsBehavior: Flickable.StopAtBounds
                    cacheBuffer: 4000
                    activeFocusOnTab: true
                    Keys.onDownPressed: flick(0, -900)
                    Keys.onUpPressed: flick(0, 900)
                    ScrollBar.vertical: OScrollBar {}
                    Accessible.role: Accessible.Document
                    Accessible.name: "Guía"

                    delegate: Column {
                        id: page

                        required property string title
                        required property bool chapter
                        required property string text
                        required property list<string> pictures

                        width: pages.width - Theme.space(4)
                        spacing: Theme.space(2)

                        OLabel {
                            width: parent.width
                            text: page.title
                            font.pixelSize: page.chapter ? Theme.titleSize : Theme.headlineSize
                            font.weight: Font.Bold
                            wrapMode: Text.Wrap
                            Accessible.role: Accessible.Heading
                        }
                        TextEdit {
                            width: parent.width
                            visible: page.text !== ""
                            readOnly: true
                            selectByMouse: true
                            textFormat: TextEdit.MarkdownText
                            text: page.text
                            color: Theme.text
                            selectionColor: Theme.accent
                            selectedTextColor: Theme.inkOnAccent
                            font.pixelSize: Theme.bodySize
                            wrapMode: TextEdit.Wrap
                            clip: true // A long line of code does not wrap.
                            onLinkActivated: link => {
                                if (link.startsWith("http"))
                                    Qt.openUrlExternally(link)
                            }
                            Accessible.role: Accessible.StaticText
                            Accessible.name: page.text
                        }
                        Repeater {
                            model: page.pictures

                            Image {
                                required property string modelData

                                width: Math.min(page.width, implicitWidth)
                                source: modelData
                                fillMode: Image.PreserveAspectFit
                                mipmap: true
                                Accessible.role: Accessible.Graphic
                                Accessible.name: page.title
                            }
                        }
                    }
                }
            }
            ScrollView {
                id: about

                contentWidth: availableWidth
                ScrollBar.vertical: OScrollBar {
                    parent: about
                    x: about.width - width
                    height: about.height
                }

                ColumnLayout {
                    width: about.availableWidth
                    spacing: Theme.space(4)

                    OLabel {
                        text: "Orvo Video"
                        font.pixelSize: Theme.largeTitleSize
                        font.weight: Font.Bold
                        Accessible.role: Accessible.Heading
                    }
                    OLabel {
                        objectName: "version"
                        text: "Versión " + guide.version
                        secondary: true
                    }
                    OLabel {
                        Layout.fillWidth: true
                        text: "Graba, edita y comparte vídeos que explican algo en la pantalla. Todo queda en este equipo hasta que tú lo publicas."
                        wrapMode: Text.Wrap
                    }
                    OButton {
                        objectName: "crashLog"
                        visible: root.app.installation.crashLog !== ""
                        text: "Mostrar el registro del último cierre inesperado"
                        iconName: "folder-open"
                        onClicked: root.app.installation.revealCrashLog()
                    }
                    TextEdit {
                        Layout.fillWidth: true
                        readOnly: true
                        selectByMouse: true
                        textFormat: TextEdit.MarkdownText
                        text: guide.thirdParty
                        color: Theme.secondaryText
                        selectionColor: Theme.accent
                        selectedTextColor: Theme.inkOnAccent
                        font.pixelSize: Theme.captionSize
                        wrapMode: TextEdit.Wrap
                        Accessible.role: Accessible.StaticText
                        Accessible.name: "Lo que han hecho otros"
                    }
                }
            }
        }
    }
}
