#pragma once

#include "OrvoVideo/model/Recorder.h"

#include <QObject>
#include <QPointer>
#include <QWindow>
#include <memory>
#include <vector>

namespace orvo {

class CountdownWindow;
class RecordingMark;

/// Clears the desktop for a recording. While a display is recorded, hides all windows of the application, and restores
/// them afterwards. Shows the countdown over the source, and a mark with the elapsed time in a place that is not
/// recorded, if there is one. Main thread only.
class RecordingDesk final : public QObject {
    Q_OBJECT
public:
    /// How the user can stop a recording while the windows are hidden.
    enum class WayBack : std::uint8_t { elsewhere, windowOnly };

    /// `wayBack` is queried when a recording starts. For `windowOnly`, the main window is only minimised.
    RecordingDesk(Recorder& recorder, std::function<WayBack()> wayBack, QObject* parent = nullptr);
    ~RecordingDesk() override;

    /// A corner of the screen's available area where a mark of this size does not cover the recorded area, or nullopt.
    /// All rectangles are in window coordinates of that screen.
    static std::optional<QRect> freeCorner(const QRect& recorded, const QRect& screen, QSize mark);

    /// Where to show the mark while `recorded` (an area of the global display space; empty if unknown) is recorded, in
    /// window coordinates. Prefers the screen that shows most of it.
    static std::optional<QRect> markPlace(const Rect& recorded, QSize mark);

private:
    void followCapture();
    void followCountdown();
    void followRecording();
    void clear();
    void restore();
    void showMark();

    Recorder& m_recorder;
    std::function<WayBack()> m_wayBack;
    struct Cleared {
        QPointer<QWindow> window;
        Qt::WindowStates states;
        QPoint position; ///< Including the window frame.
    };
    std::vector<Cleared> m_cleared; ///< Parents before their child windows.
    QPointer<QWindow> m_active; ///< The active window before the clearing.
    std::unique_ptr<CountdownWindow> m_countdown;
    std::unique_ptr<RecordingMark> m_mark;
};

} // namespace orvo
