# The settings window.
set(ORVO_SETTINGS_QML
  settings/DriveGroup.qml
  settings/ExtensionGroup.qml
  settings/PermissionsGroup.qml
  settings/PublishingGroup.qml
  settings/SettingsField.qml
  settings/SettingsGroup.qml
  settings/SettingsNote.qml
  settings/SettingsView.qml
  settings/SettingsWindow.qml
  settings/ShortcutRow.qml
  settings/ShortcutsGroup.qml
  settings/ToolsGroup.qml)

set(ORVO_SETTINGS_SOURCES
  settings/SpeechModelList.cpp
  settings/SpeechModelList.h)
