#include <QtQml/QQmlExtensionPlugin>

// Without these references, the linker drops the plugins from their static libraries.
Q_IMPORT_QML_PLUGIN(Orvo_EditorPlugin)
Q_IMPORT_QML_PLUGIN(Orvo_HelpPlugin)
Q_IMPORT_QML_PLUGIN(Orvo_ModelPlugin)
Q_IMPORT_QML_PLUGIN(Orvo_PreviewPlugin)
Q_IMPORT_QML_PLUGIN(Orvo_RecorderPlugin)
Q_IMPORT_QML_PLUGIN(Orvo_SettingsPlugin)
Q_IMPORT_QML_PLUGIN(Orvo_ShellPlugin)
Q_IMPORT_QML_PLUGIN(Orvo_UiPlugin)
