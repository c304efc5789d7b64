#pragma once

#include "OrvoVideo/model/Recorder.h"

#include <QObject>
#include <QPointer>
#include <QQuickView>
#include <QWindow>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <vector>

namespace orvo {

class CountdownWindow;

/// Clears the desktop for a recording. While a display is recorded, hides all windows of the application, and restores
/// them afterwards. Shows the countdown over the source, and the recording bar in a place that is not recorded, if there is
/// one, while no other window of the application is in front. Main thread only.
class RecordingDesk final : public QObject {
    Q_OBJECT
public:
    /// How the user can stop a recording while the windows are hidden.
    enum class WayBack : std::uint8_t { elsewhere, windowOnly };

    static constexpr QSize barSize{320, 44};
    /// The dynamic property of a window that stays visible outside the recorded area, moved aside if necessary.
    static constexpr auto staysAside = "staysAside";

    /// `wayBack` is queried when a recording starts. For `windowOnly`, the main window is only minimised, where the desktop
    /// minimises windows.
    RecordingDesk(Recorder& recorder, std::function<WayBack()> wayBack, QObject* parent = nullptr);
    ~RecordingDesk() override;

    /// Whether the bar has a place in the starting or running recording.
    bool hasBar() const;
    /// Whether the windows are hidden and only the desktop itself can show them again.
    bool hidesTheOnlyWay() const { return m_hidesTheOnlyWay; }

    /// A corner of the screen's available area where a window of this size covers neither `recorded` nor `avoided`; nullopt
    /// if there is none. All rectangles are in window coordinates of that screen.
    static std::optional<QRect> freeCorner(
        const QRect& recorded, const QRect& screen, QSize size, const QRect& avoided = {});

    /// Where to show a window while `recorded` (an area of the global display space; empty if unknown) is recorded, in
    /// window coordinates. Prefers the screen that shows most of it.
    static std::optional<QRect> freePlace(const Rect& recorded, QSize size, const QRect& avoided = {});

signals:
    /// The windows are hidden and the countdown begins.
    void cleared();

private:
    void followCapture();
    void followCountdown();
    void followBar();
    void clear();
    bool stays(QWindow& window);
    void restore();
    bool isOursInFront() const;
    std::optional<QRect> barPlace() const;
    void makeBar();

    Recorder& m_recorder;
    std::function<WayBack()> m_wayBack;
    struct Cleared {
        QPointer<QWindow> window;
        Qt::WindowStates states;
        QPoint position; ///< Including the window frame.
        QPointer<QScreen> screen; ///< Defines the units of the position.
        bool wasMoved = false; ///< Moved aside instead of hidden.
    };
    std::vector<Cleared> m_cleared; ///< Parents before their child windows.
    QPointer<QWindow> m_active; ///< The active window before the clearing.
    bool m_hidesTheOnlyWay = false;
    std::unique_ptr<CountdownWindow> m_countdown;
    std::unique_ptr<QQuickView> m_bar;
};

} // namespace orvo
