# The theme and the controls that every view uses.
set(ORVO_UI_QML
  ui/FocusFollower.qml
  ui/FocusRing.qml
  ui/OButton.qml
  ui/OCaption.qml
  ui/OComboBox.qml
  ui/OEntry.qml
  ui/OIcon.qml
  ui/OIconButton.qml
  ui/OLabel.qml
  ui/OList.qml
  ui/OMenu.qml
  ui/OMenuItem.qml
  ui/OMenuSeparator.qml
  ui/OMnemonic.qml
  ui/ONumberField.qml
  ui/OPanel.qml
  ui/OProgressBar.qml
  ui/OScrollBar.qml
  ui/OSegmented.qml
  ui/OSlider.qml
  ui/OSwitch.qml
  ui/OTextArea.qml
  ui/OTextField.qml
  ui/OTooltip.qml
  ui/Theme.qml)
set_source_files_properties(ui/Theme.qml PROPERTIES QT_QML_SINGLETON_TYPE TRUE)

set(ORVO_UI_SOURCES
  ui/Appearance.cpp
  ui/Appearance.h
  ui/Icon.cpp
  ui/Icon.h)

file(GLOB ORVO_UI_RESOURCES CONFIGURE_DEPENDS RELATIVE ${CMAKE_CURRENT_SOURCE_DIR} ui/icons/*.svg)
