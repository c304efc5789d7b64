#pragma once

#include "OrvoVideo/model/AppModel.h"

#include <QObject>
#include <QPointer>
#include <QWindow>
#include <memory>
#include <vector>

namespace orvo {

class CountdownWindow;
class RecordingMark;

/// Clears the desktop for a recording. All windows of the application are hidden while a display is recorded and come back
/// as they were; the countdown is shown on what will be recorded, and a mark with the elapsed time where it is not recorded,
/// if there is such a place. Main thread only.
class RecordingDesk final : public QObject {
    Q_OBJECT
public:
    /// How the user can end a recording while the windows are away.
    enum class WayBack : std::uint8_t { elsewhere, windowOnly };

    /// `wayBack` is asked when a recording begins. Without another way the main window is only minimised.
    RecordingDesk(AppModel& model, std::function<WayBack()> wayBack, QObject* parent = nullptr);
    ~RecordingDesk() override;

    /// A corner of a screen's free area where a mark of this size does not cover the recorded area; nullopt if there is
    /// none. All of them in the coordinates of the windows on that screen.
    static std::optional<QRect> freeCorner(const QRect& recorded, const QRect& screen, QSize mark);

    /// Where the mark stands while `recorded` is, in the coordinates of the windows. `recorded` is an area of the global
    /// display space, empty if it is not known. The screen that shows most of it comes first.
    static std::optional<QRect> markPlace(const Rect& recorded, QSize mark);

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
        Qt::WindowStates states;
        QPoint position; ///< Of the frame.
    };
    std::vector<Cleared> m_cleared; ///< Parents before the windows that belong to them.
    QPointer<QWindow> m_active; ///< Had the keyboard when they were cleared.
    std::unique_ptr<CountdownWindow> m_countdown;
    std::unique_ptr<RecordingMark> m_mark;
};

} // namespace orvo
