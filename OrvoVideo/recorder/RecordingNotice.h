#pragma once

#include "OrvoVideo/model/ShortcutManager.h"
#include "OrvoVideo/recorder/RecordingDesk.h"
#include "Platform/attention/DesktopNotice.h"

#include <QObject>

namespace orvo {

/// What the desktop's notifications say of a recording without a bar: the keys while it counts down, and a microphone that
/// is not heard. Where nothing else leads back, one with a button stays until the recording ends. Main thread only.
class RecordingNotice final : public QObject {
    Q_OBJECT
public:
    /// All of it outlives this object.
    RecordingNotice(Recorder& recorder, const ShortcutManager& shortcuts, const RecordingDesk& desk);

private:
    void tellKeys();
    void followPhase();
    void followMicrophone();

    Recorder& m_recorder;
    const ShortcutManager& m_shortcuts;
    const RecordingDesk& m_desk;
    DesktopNotice m_notice;
};

} // namespace orvo
