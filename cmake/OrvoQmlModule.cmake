# Common headers of the C++ code of windows, precompiled once for all rooms.
file(CONFIGURE OUTPUT ${CMAKE_BINARY_DIR}/orvo_window_standard.cpp CONTENT "")
add_library(orvo_window_standard OBJECT ${CMAKE_BINARY_DIR}/orvo_window_standard.cpp)
target_link_libraries(orvo_window_standard PRIVATE orvo_flags Qt6::DBus Qt6::Quick)
target_precompile_headers(orvo_window_standard PRIVATE
  <QGuiApplication> <QPainter> <QPointer> <QQmlEngine> <QQuickItem> <QQuickWindow> <QTimer> <QtQml/qqmlprivate.h>
  <algorithm> <chrono> <filesystem> <format> <functional> <map> <optional> <span> <stop_token> <string> <thread> <vector>)

# orvo_qml_module(NAME URI ROOM SOURCES file... QML file... [RESOURCES file...] [PUBLIC target...] [PRIVATE target...])
#
# Creates a room with windows: an orvo_module() whose headers are included as "OrvoVideo/ROOM/Header.h", and the QML
# module URI.
function(orvo_qml_module NAME URI ROOM)
  cmake_parse_arguments(ARG "" "" "SOURCES;QML;RESOURCES;PUBLIC;PRIVATE" ${ARGN})
  orvo_module(${NAME} INCLUDED_AS OrvoVideo/${ROOM} OWN_PRECOMPILED SOURCES ${ARG_SOURCES} PUBLIC ${ARG_PUBLIC} PRIVATE ${ARG_PRIVATE})
  set_target_properties(${NAME} PROPERTIES
    AUTOMOC ON
    # Parses the views ahead of time, so that they open faster. Compiling their few expressions to C++ would take much of
    # the build time.
    QT_QMLCACHEGEN_ARGUMENTS --only-bytecode)
  target_precompile_headers(${NAME} REUSE_FROM orvo_window_standard)
  # The generated type registration includes the headers by name only.
  target_include_directories(${NAME} PRIVATE ${CMAKE_CURRENT_SOURCE_DIR})
  qt_policy(SET QTP0004 NEW)
  string(REPLACE "." "/" folder ${URI})
  qt_add_qml_module(${NAME}
    URI ${URI}
    VERSION 1.0
    DEPENDENCIES QtQuick
    RESOURCE_PREFIX /qt/qml
    OUTPUT_DIRECTORY ${CMAKE_BINARY_DIR}/qml/${folder}
    QML_FILES ${ARG_QML}
    RESOURCES ${ARG_RESOURCES})
endfunction()
