# The recording panel, and what a recording shows on the desktop.
set(ORVO_RECORDING_QML
  recording/CameraChoice.qml
  recording/MicrophoneChoice.qml
  recording/RecordingControls.qml
  recording/RecordingView.qml
  recording/SourceChoice.qml)

set(ORVO_RECORDING_SOURCES
  recording/CameraMirror.cpp
  recording/CameraMirror.h
  recording/CaptureDevices.cpp
  recording/CaptureDevices.h
  recording/MicrophoneLevel.cpp
  recording/MicrophoneLevel.h
  recording/RecordingDesk.cpp
  recording/RecordingDesk.h
  recording/RecordingWindows.cpp
  recording/RecordingWindows.h
  recording/SourceMirror.cpp
  recording/SourceMirror.h)
