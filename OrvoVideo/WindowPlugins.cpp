#include <QtQml/QQmlExtensionPlugin>

// A linker takes from a static library only what is named.
Q_IMPORT_QML_PLUGIN(Orvo_EditorPlugin)
Q_IMPORT_QML_PLUGIN(Orvo_HelpPlugin)
Q_IMPORT_QML_PLUGIN(Orvo_ModelPlugin)
Q_IMPORT_QML_PLUGIN(Orvo_PreviewPlugin)
Q_IMPORT_QML_PLUGIN(Orvo_RecorderPlugin)
Q_IMPORT_QML_PLUGIN(Orvo_SettingsPlugin)
Q_IMPORT_QML_PLUGIN(Orvo_ShellPlugin)
Q_IMPORT_QML_PLUGIN(Orvo_UiPlugin)
