#pragma once

#include "OrvoVideo/AppModel.h"

#include <QObject>
#include <QPointer>
#include <QWindow>
#include <memory>
#include <vector>

namespace orvo {

class CountdownWindow;
class RecordingMark;

/// Clears the desktop for a recording: the application's windows go while a display is recorded and come back afterwards,
/// the countdown stands on what will be recorded, and a mark with the elapsed time where it is not recorded, if there is
/// such a place. Main thread only.
class RecordingDesk final : public QObject {
    Q_OBJECT
public:
    /// How the user can end a recording while the windows are away.
    enum class WayBack : std::uint8_t { elsewhere, windowOnly };

    /// `wayBack` is asked when a recording begins. Without another way the windows are only minimised.
    RecordingDesk(AppModel& model, std::function<WayBack()> wayBack, QObject* parent = nullptr);
    ~RecordingDesk() override;

    /// A corner of a screen where a mark of this size is not in the recorded area, all in the coordinates of the windows;
    /// nothing when there is none. The screen with the recorded area is the first.
    static std::optional<QRect> freeCorner(const QRect& recorded, const std::vector<QRect>& screens, QSize mark);

private:
    void followCapture();
    void followCountdown();
    void followRecording();
    void clear();
    void restore();
    void showMark();

    AppModel& m_model;
    std::function<WayBack()> m_wayBack;
    struct Cleared {
        QPointer<QWindow> window;
        QWindow::Visibility visibility;
    };
    std::vector<Cleared> m_cleared;
    std::unique_ptr<CountdownWindow> m_countdown;
    std::unique_ptr<RecordingMark> m_mark;
};

} // namespace orvo
