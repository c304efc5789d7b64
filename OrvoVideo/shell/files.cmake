# The main window and what surrounds the editor.
set(ORVO_SHELL_QML
  shell/Alert.qml
  shell/AppearanceAction.qml
  shell/DropZones.qml
  shell/LibraryRow.qml
  shell/LibrarySidebar.qml
  shell/MainMenu.qml
  shell/MainView.qml
  shell/ProjectView.qml
  shell/StatusBar.qml
  shell/WelcomeView.qml)

set(ORVO_SHELL_SOURCES
  shell/MainWindow.cpp
  shell/MainWindow.h
  shell/ProjectThumbnails.cpp
  shell/ProjectThumbnails.h
  shell/TrayItem.cpp
  shell/TrayItem.h
  shell/Wording.cpp
  shell/Wording.h)
