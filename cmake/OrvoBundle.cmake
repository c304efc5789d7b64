# Lays out OrvoVideo.app in the build tree as in the package, so that relative paths work in both.

set(ORVO_BUNDLE ${CMAKE_BINARY_DIR}/OrvoVideo.app)
file(MAKE_DIRECTORY ${ORVO_BUNDLE}/Contents/MacOS ${ORVO_BUNDLE}/Contents/Helpers ${ORVO_BUNDLE}/Contents/Resources)
file(CREATE_LINK /usr/bin/ffmpeg ${ORVO_BUNDLE}/Contents/Helpers/ffmpeg SYMBOLIC)
# Models from tools/model.sh; a package has its own folder, or none.
file(CREATE_LINK ${PROJECT_SOURCE_DIR}/build/models ${ORVO_BUNDLE}/Contents/Resources/Models SYMBOLIC)
file(CREATE_LINK ${PROJECT_SOURCE_DIR}/Extension ${ORVO_BUNDLE}/Contents/Resources/Extension SYMBOLIC)
file(CREATE_LINK ${PROJECT_SOURCE_DIR}/packaging/extension-origin.txt ${ORVO_BUNDLE}/Contents/Resources/extension-origin.txt SYMBOLIC)
if(ORVO_PORTABLE_SPEECH)
  file(CREATE_LINK ${ORVO_SPEECH_LIBRARIES} ${ORVO_BUNDLE}/Contents/Frameworks SYMBOLIC)
endif()
# Sample speech (from espeak-ng) that measures the speed of a model on this machine.
file(CREATE_LINK ${PROJECT_SOURCE_DIR}/packaging/sample.wav ${ORVO_BUNDLE}/Contents/Resources/sample.wav SYMBOLIC)
