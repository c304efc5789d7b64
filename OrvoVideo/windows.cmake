# The windows: the QML module OrvoVideo, one folder for each feature, each with its list of files.
include(ui/files.cmake)
include(shell/files.cmake)
include(editor/files.cmake)
include(recording/files.cmake)
include(settings/files.cmake)

orvo_module(OrvoVideoUi INCLUDED_AS OrvoVideo OWN_PRECOMPILED
  SOURCES
    ${ORVO_UI_SOURCES}
    ${ORVO_SHELL_SOURCES}
    ${ORVO_EDITOR_SOURCES}
    ${ORVO_RECORDING_SOURCES}
    ${ORVO_SETTINGS_SOURCES}
  PUBLIC EditorGeometry OrvoVideoModel OrvoVideoPreview Qt6::Core Qt6::DBus Qt6::Gui Qt6::Qml Qt6::Quick Qt6::Widgets
  PRIVATE Qt6::QuickControls2 Qt6::Svg)
set_target_properties(OrvoVideoUi PROPERTIES AUTOMOC ON)
target_precompile_headers(OrvoVideoUi PRIVATE
  <QGuiApplication> <QPainter> <QPointer> <QQmlEngine> <QQuickItem> <QQuickWindow> <QTimer> <QtQml/qqmlprivate.h>
  <algorithm> <chrono> <filesystem> <format> <functional> <map> <optional> <span> <stop_token> <string> <thread> <vector>)

# The generated registration of the types includes their headers by name alone.
target_include_directories(OrvoVideoUi PRIVATE ui shell editor recording settings)

# The views are read ahead of time, so that they open faster. Their few expressions are not made into C++: that would cost much
# of the time of a build.
set_target_properties(OrvoVideoUi PROPERTIES QT_QMLCACHEGEN_ARGUMENTS --only-bytecode)

qt_policy(SET QTP0004 NEW)
qt_add_qml_module(OrvoVideoUi
  URI OrvoVideo
  VERSION 1.0
  DEPENDENCIES QtQuick
  RESOURCE_PREFIX /qt/qml
  OUTPUT_DIRECTORY ${CMAKE_BINARY_DIR}/qml/OrvoVideo
  QML_FILES
    ${ORVO_UI_QML}
    ${ORVO_SHELL_QML}
    ${ORVO_EDITOR_QML}
    ${ORVO_RECORDING_QML}
    ${ORVO_SETTINGS_QML}
  RESOURCES
    ${ORVO_UI_RESOURCES})

# The application, in its place in the bundle.
add_executable(OrvoVideo main.cpp)
set_target_properties(OrvoVideo PROPERTIES RUNTIME_OUTPUT_DIRECTORY ${CMAKE_BINARY_DIR}/OrvoVideo.app/Contents/MacOS)
target_link_libraries(OrvoVideo PRIVATE
  orvo_flags OrvoVideoUi OrvoVideoUiplugin OrvoVideoModelplugin OrvoVideoPreviewplugin Qt6::QuickControls2 Qt6::Widgets)
