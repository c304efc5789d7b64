# The settings window.
set(ORVO_SETTINGS_QML
  settings/SettingsGroup.qml
  settings/SettingsView.qml
  settings/SettingsWindow.qml
  settings/ShortcutRow.qml
  settings/ShortcutsGroup.qml)

set(ORVO_SETTINGS_SOURCES
  settings/SpeechModelList.cpp
  settings/SpeechModelList.h)
