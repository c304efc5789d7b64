
# The services of the desktop, which need Qt: kept apart from those that a program without windows uses.
orvo_module(PlatformDesktop INCLUDED_AS Platform
  SOURCES
    DesktopWorkspace.cpp
    QtFilePanels.cpp
    QtPasteboard.cpp
  PUBLIC Platform PlatformPreview Qt6::Core Qt6::Gui
  PRIVATE Qt6::DBus Qt6::Widgets)
set_target_properties(PlatformDesktop PROPERTIES AUTOMOC ON)

# The live preview is a library of its own: what needs no interface links neither Qt nor GStreamer.
pkg_check_modules(gstreamer REQUIRED IMPORTED_TARGET gstreamer-1.0>=1.26 gstreamer-app-1.0 gstreamer-video-1.0)
add_library(PlatformPreview STATIC
  GstPreviewPlayer.cpp
  PreviewPlayer.h
  preview/CompositionLayout.cpp
  preview/GstHandles.cpp
  preview/MediaReader.cpp
  preview/PictureConverter.cpp
  preview/PlaybackClock.cpp
  preview/PreviewEngine.cpp
  preview/ReferencePictures.cpp
  preview/SoundTrack.cpp
  preview/VideoShelf.cpp
  preview/VideoSource.cpp)
set_target_properties(PlatformPreview PROPERTIES AUTOMOC ON)
target_link_libraries(PlatformPreview PUBLIC Platform Qt6::Gui PRIVATE orvo_flags PkgConfig::gstreamer)
# QML names the player as the type of a property.
qt_extract_metatypes(PlatformPreview)
