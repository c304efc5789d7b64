# Lays out OrvoVideo.app in the build tree as in the package, so that relative paths work in both.

set(ORVO_BUNDLE ${CMAKE_BINARY_DIR}/OrvoVideo.app)
file(MAKE_DIRECTORY ${ORVO_BUNDLE}/Contents/MacOS ${ORVO_BUNDLE}/Contents/Helpers ${ORVO_BUNDLE}/Contents/Resources)
file(CREATE_LINK /usr/bin/ffmpeg ${ORVO_BUNDLE}/Contents/Helpers/ffmpeg SYMBOLIC)
# Models that tools/model.sh put into the tree; a package has its own folder, or none.
file(CREATE_LINK ${PROJECT_SOURCE_DIR}/build/models ${ORVO_BUNDLE}/Contents/Resources/Models SYMBOLIC)
file(CREATE_LINK ${PROJECT_SOURCE_DIR}/Extension ${ORVO_BUNDLE}/Contents/Resources/Extension SYMBOLIC)
file(CREATE_LINK ${PROJECT_SOURCE_DIR}/packaging/extension-origin.txt ${ORVO_BUNDLE}/Contents/Resources/extension-origin.txt SYMBOLIC)
if(ORVO_PORTABLE_SPEECH)
  file(CREATE_LINK ${ORVO_SPEECH_LIBRARIES} ${ORVO_BUNDLE}/Contents/Frameworks SYMBOLIC)
endif()
# The speech that measures how fast a model is on this machine (made by espeak-ng).
file(CREATE_LINK ${PROJECT_SOURCE_DIR}/packaging/sample.wav ${ORVO_BUNDLE}/Contents/Resources/sample.wav SYMBOLIC)
