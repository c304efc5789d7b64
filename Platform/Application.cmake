
# The services of the desktop, which need Qt: kept apart from those that a program without windows uses.
pkg_check_modules(keys REQUIRED IMPORTED_TARGET xcb xcb-keysyms)
orvo_module(PlatformDesktop INCLUDED_AS Platform
  SOURCES
    BusNotificationObserver.cpp
    DesktopWorkspace.cpp
    QtFilePanels.cpp
    QtPasteboard.cpp
    ShortcutKeys.cpp
    ShortcutKeys.h
    input/VirtualKeys.cpp
    input/X11ShortcutKeys.cpp
    portal/PortalRequest.cpp
    portal/PortalRequest.h
    portal/PortalSession.cpp
    portal/PortalSession.h
    portal/PortalShortcutKeys.cpp
    portal/PortalShortcutKeys.h
    portal/ScreenCast.cpp
    portal/ScreenCast.h
  PUBLIC Platform PlatformInput PlatformNotifications PlatformPreview Qt6::Core Qt6::DBus Qt6::Gui
  PRIVATE PkgConfig::keys Qt6::Widgets)
set_target_properties(PlatformDesktop PROPERTIES AUTOMOC ON)

# The live preview is a library of its own: what needs no interface links neither Qt nor GStreamer.
add_library(PlatformPreview STATIC
  GstPreviewPlayer.cpp
  PreviewPlayer.h
  preview/CompositionLayout.cpp
  preview/MediaReader.cpp
  preview/PictureConverter.cpp
  preview/PlaybackClock.cpp
  preview/PreviewEngine.cpp
  preview/ReferencePictures.cpp
  preview/SoundTrack.cpp
  preview/VideoShelf.cpp
  preview/VideoSource.cpp)
set_target_properties(PlatformPreview PROPERTIES AUTOMOC ON)
orvo_precompiled(PlatformPreview)
target_link_libraries(PlatformPreview PUBLIC Platform Qt6::Gui PRIVATE orvo_flags PlatformGStreamer PkgConfig::gstreamer)
# QML names the player as the type of a property.
qt_extract_metatypes(PlatformPreview)
