#pragma once

#include "OrvoVideo/model/ShortcutManager.h"
#include "OrvoVideo/recorder/RecordingDesk.h"
#include "Platform/attention/DesktopNotice.h"

#include <QObject>

namespace orvo {

/// Desktop notifications for a recording without a bar: the keys during the countdown, and a silent microphone. If only the
/// desktop can show the windows again, a notification with a button stays until the recording ends. Main thread only.
class RecordingNotice final : public QObject {
    Q_OBJECT
public:
    /// The arguments must outlive this object.
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
