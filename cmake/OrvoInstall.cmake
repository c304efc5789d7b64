# The files that `cmake --install` installs, in two components:
#
#   application   the bundle in lib/orvo-video/, links to its programs in bin/, and the desktop integration
#   server        bin/orvo-server with its systemd unit
#
# The programs find the bundle from /proc/self/exe, so any prefix works and the tree can be moved. `./dev package` makes Debian
# packages of the components, and of the speech model if it is present.

include(GNUInstallDirs)

set(private lib/orvo-video) # Not lib/ARCHITECTURE, because these are not libraries for other programs.
set(contents ${private}/OrvoVideo.app/Contents)

# The bundle. The links in bin/ start the programs, which find their files beside the targets of the links.
install(TARGETS OrvoVideo orvo RUNTIME DESTINATION ${contents}/MacOS COMPONENT application)
install(TARGETS OrvoBridge RUNTIME DESTINATION ${contents}/Helpers COMPONENT application)
install(DIRECTORY ${PROJECT_SOURCE_DIR}/Extension DESTINATION ${contents}/Resources COMPONENT application)
install(FILES ${PROJECT_SOURCE_DIR}/packaging/extension-origin.txt ${PROJECT_SOURCE_DIR}/packaging/sample.wav DESTINATION ${contents}/Resources COMPONENT application)
if(ORVO_PORTABLE_SPEECH)
  install(DIRECTORY ${ORVO_SPEECH_LIBRARIES}/ DESTINATION ${contents}/Frameworks COMPONENT application
    FILES_MATCHING PATTERN "*.so*" PATTERN "cmake" EXCLUDE PATTERN "pkgconfig" EXCLUDE)
  set_target_properties(OrvoVideo orvo PROPERTIES INSTALL_RPATH "$ORIGIN/../Frameworks")
endif()

set(links ${CMAKE_BINARY_DIR}/links)
file(MAKE_DIRECTORY ${links})
file(CREATE_LINK ../${contents}/MacOS/OrvoVideo ${links}/orvo-video SYMBOLIC)
file(CREATE_LINK ../${contents}/MacOS/orvo ${links}/orvo SYMBOLIC)
install(FILES ${links}/orvo-video ${links}/orvo DESTINATION ${CMAKE_INSTALL_BINDIR} COMPONENT application)
# The system's ffmpeg. Below /usr the link is relative, as packages require.
set(ORVO_FFMPEG /usr/bin/ffmpeg CACHE FILEPATH "The ffmpeg that an installed application uses")
install(CODE "
  set(helpers \"\${CMAKE_INSTALL_PREFIX}/${contents}/Helpers\")
  set(target \"${ORVO_FFMPEG}\")
  if(helpers MATCHES \"^/usr/\" AND target MATCHES \"^/usr/\")
    file(RELATIVE_PATH target \"\${helpers}\" \"\${target}\")
  endif()
  file(CREATE_LINK \"\${target}\" \"\$ENV{DESTDIR}\${helpers}/ffmpeg\" SYMBOLIC)"
  COMPONENT application)

# Desktop integration: entry, icons, metadata, D-Bus activation.
set(desktop ${PROJECT_SOURCE_DIR}/packaging/desktop)
install(FILES ${desktop}/es.orvo.video.desktop DESTINATION ${CMAKE_INSTALL_DATADIR}/applications COMPONENT application)
install(FILES ${desktop}/es.orvo.video.metainfo.xml DESTINATION ${CMAKE_INSTALL_DATADIR}/metainfo COMPONENT application)
set(icons ${CMAKE_INSTALL_DATADIR}/icons/hicolor)
install(FILES ${desktop}/icons/es.orvo.video.svg DESTINATION ${icons}/scalable/apps COMPONENT application)
foreach(size 16 22 24 32 48 64 128 256 512)
  install(FILES ${desktop}/icons/${size}.png DESTINATION ${icons}/${size}x${size}/apps RENAME es.orvo.video.png COMPONENT application)
endforeach()

# install_with_programs(FILE DESTINATION COMPONENT) installs a file, replacing paths of programs in /usr/bin, and the bare name
# of the server, by their paths in this prefix.
function(install_with_programs FILE DESTINATION COMPONENT)
  cmake_path(GET FILE FILENAME name)
  install(CODE "
    file(READ \"${FILE}\" text)
    string(REPLACE /usr/bin/ \"\${CMAKE_INSTALL_PREFIX}/${CMAKE_INSTALL_BINDIR}/\" text \"\${text}\")
    string(REPLACE ExecStart=orvo-server \"ExecStart=\${CMAKE_INSTALL_PREFIX}/${CMAKE_INSTALL_BINDIR}/orvo-server\" text \"\${text}\")
    set(file \"\${CMAKE_INSTALL_PREFIX}/${DESTINATION}/${name}\")
    message(STATUS \"Installing: \$ENV{DESTDIR}\${file}\")
    file(WRITE \"\$ENV{DESTDIR}\${file}\" \"\${text}\")
    list(APPEND CMAKE_INSTALL_MANIFEST_FILES \"\${file}\")"
    COMPONENT ${COMPONENT})
endfunction()
install_with_programs(${desktop}/es.orvo.video.service ${CMAKE_INSTALL_DATADIR}/dbus-1/services application)

# The program writes its manual page from its table of commands; completions query the program at run time.
add_custom_command(
  OUTPUT ${links}/orvo.1
  COMMAND orvo --manual > ${links}/orvo.1
  DEPENDS orvo
  COMMENT "Writing the manual page of orvo"
  VERBATIM)
add_custom_target(manual ALL DEPENDS ${links}/orvo.1)
install(FILES ${links}/orvo.1 ${desktop}/orvo-video.1 DESTINATION ${CMAKE_INSTALL_MANDIR}/man1 COMPONENT application)
set(completions ${PROJECT_SOURCE_DIR}/packaging/completions)
install(FILES ${completions}/orvo.bash DESTINATION ${CMAKE_INSTALL_DATADIR}/bash-completion/completions RENAME orvo COMPONENT application)
install(FILES ${completions}/_orvo DESTINATION ${CMAKE_INSTALL_DATADIR}/zsh/site-functions COMPONENT application)
install(FILES ${completions}/orvo.fish DESTINATION ${CMAKE_INSTALL_DATADIR}/fish/vendor_completions.d COMPONENT application)
set(docs ${PROJECT_SOURCE_DIR}/docs)
install(FILES ${docs}/guia.md ${docs}/orden-orvo.md ${docs}/third-party.md
  DESTINATION ${CMAKE_INSTALL_DATADIR}/doc/orvo-video COMPONENT application)
install(DIRECTORY ${docs}/images DESTINATION ${CMAKE_INSTALL_DATADIR}/doc/orvo-video COMPONENT application)

# The publishing server.
install(TARGETS orvo-server RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR} COMPONENT server)
install_with_programs(${PROJECT_SOURCE_DIR}/packaging/orvo-server.service lib/systemd/system server)
install(FILES ${PROJECT_SOURCE_DIR}/packaging/orvo-server.sysusers DESTINATION lib/sysusers.d RENAME orvo-server.conf COMPONENT server)
install(FILES ${PROJECT_SOURCE_DIR}/packaging/orvo-server.1 DESTINATION ${CMAKE_INSTALL_MANDIR}/man1 COMPONENT server)
install(FILES ${docs}/server.md ${docs}/third-party.md DESTINATION ${CMAKE_INSTALL_DATADIR}/doc/orvo-server COMPONENT server)
