#include "OrvoVideo/recorder/RecordingDesk.h"

#include "OrvoVideo/recorder/RecordingWindows.h"

#include <QGuiApplication>
#include <QScreen>
#include <algorithm>
#include <ranges>
#include <utility>

namespace orvo {

namespace {

bool isWayland()
{
    return QGuiApplication::platformName().startsWith(QLatin1String("wayland"));
}

/// The area of a screen in the global display space. On X11 that is in pixels: Qt keeps the position in pixels but
/// divides the size by the scale. On Wayland both are in the compositor's units.
QRectF displayRect(const QScreen& screen)
{
    const QRect shown = screen.geometry();
    return {shown.topLeft(), isWayland() ? QSizeF(shown.size()) : QSizeF(shown.size()) * screen.devicePixelRatio()};
}

QRectF rectOf(const Rect& area)
{
    return {area.x, area.y, area.width, area.height};
}

/// Converts an area of the global display space to window coordinates of this screen, which shows `display`.
QRect windowRect(const Rect& area, const QRectF& display, const QScreen& screen)
{
    const QRect shown = screen.geometry();
    if (display.isEmpty())
        return shown;
    const double across = shown.width() / display.width();
    const double down = shown.height() / display.height();
    return QRectF(shown.x() + (area.x - display.x()) * across, shown.y() + (area.y - display.y()) * down,
        area.width * across, area.height * down)
        .toAlignedRect();
}

/// The screen that shows most of an area.
QScreen* screenWith(const Rect& area)
{
    if (auto* screen = screenOf(area))
        return screen;
    auto* found = QGuiApplication::primaryScreen();
    double maxCommon = 0;
    for (auto* screen : QGuiApplication::screens()) {
        const QRectF common = displayRect(*screen).intersected(rectOf(area));
        if (common.width() * common.height() > maxCommon) {
            maxCommon = common.width() * common.height();
            found = screen;
        }
    }
    return found;
}

/// Whether a recording of the display would show the window. Popups close by themselves; the countdown and the mark stay.
bool isInTheWay(const QWindow& window)
{
    const auto type = window.type();
    return window.isVisible()
        && (type == Qt::Window || type == Qt::Dialog || type == Qt::Sheet || type == Qt::Tool || type == Qt::SplashScreen);
}

/// The number of its transient parents.
int depthOf(const QWindow& window)
{
    int depth = 0;
    for (const auto* parent = window.transientParent(); parent; parent = parent->transientParent())
        ++depth;
    return depth;
}

} // namespace

RecordingDesk::RecordingDesk(Recorder& recorder, std::function<WayBack()> wayBack, QObject* parent)
    : QObject(parent)
    , m_recorder(recorder)
    , m_wayBack(std::move(wayBack))
{
    connect(&m_recorder, &Recorder::phaseChanged, this, [this] {
        followRecording();
        followCountdown();
        followCapture();
    });
    connect(&m_recorder, &Recorder::timeChanged, this, [this] {
        if (m_mark)
            m_mark->setTime(m_recorder.time());
    });
}

RecordingDesk::~RecordingDesk() = default;

void RecordingDesk::followCapture()
{
    if (!m_recorder.capturing()) {
        m_countdown.reset();
        m_mark.reset();
        restore();
    } else if (m_cleared.empty() && !m_recorder.captured()->source.windowID) {
        clear();
    }
}

void RecordingDesk::followCountdown()
{
    if (m_recorder.countdown() == 0) {
        m_countdown.reset();
        return;
    }
    if (!m_countdown) {
        const auto& captured = *m_recorder.captured();
        auto* screen = screenWith(captured.source.rect);
        const QRect area =
            captured.source.windowID ? screen->geometry() : windowRect(captured.area, rectOf(captured.source.rect), *screen);
        m_countdown = std::make_unique<CountdownWindow>(
            *screen, area.center(), m_recorder.capture()->picture(), QString::fromStdString(captured.source.label));
    }
    m_countdown->setCount(m_recorder.countdown());
}

void RecordingDesk::followRecording()
{
    if (m_recorder.isRecording() && !m_mark)
        showMark();
    else if (!m_recorder.isRecording())
        m_mark.reset();
    if (m_mark)
        m_mark->setPaused(m_recorder.isPaused());
}

void RecordingDesk::clear()
{
    for (auto* window : QGuiApplication::topLevelWindows()) {
        if (isInTheWay(*window))
            m_cleared.push_back({window, window->windowStates(), window->framePosition()});
    }
    std::ranges::stable_sort(m_cleared, {}, [](const Cleared& cleared) { return depthOf(*cleared.window); });
    m_active = QGuiApplication::focusWindow();
    const bool canHide = m_wayBack() == WayBack::elsewhere;
    for (const auto& [window, states, position] : m_cleared | std::views::reverse) {
        if (canHide || window->transientParent())
            window->hide();
        else
            window->showMinimized();
    }
}

void RecordingDesk::restore()
{
    if (m_cleared.empty())
        return;
    QWindow* active = m_active;
    for (const auto& [window, states, position] : std::exchange(m_cleared, {})) {
        if (!window)
            continue;
        // A window that is shown again is placed by the window manager unless it requests its position.
        if (states == Qt::WindowNoState)
            window->setFramePosition(position);
        // Shows the finished recording even if the main window was minimised.
        const bool staysMinimized = window->transientParent() != nullptr;
        window->setWindowStates(staysMinimized ? states : states & ~Qt::WindowMinimized);
        window->setVisible(true);
        window->raise();
        if (!active)
            active = window;
    }
    if (active)
        active->requestActivate();
}

std::optional<QRect> RecordingDesk::freeCorner(const QRect& recorded, const QRect& screen, QSize mark)
{
    constexpr int margin = 12;
    const QRect inner = screen.marginsRemoved({margin, margin, margin, margin});
    QRect place({}, mark);
    for (const auto move : {&QRect::moveBottomRight, &QRect::moveBottomLeft, &QRect::moveTopRight, &QRect::moveTopLeft}) {
        const QPoint corner = move == &QRect::moveBottomRight ? inner.bottomRight()
            : move == &QRect::moveBottomLeft                  ? inner.bottomLeft()
            : move == &QRect::moveTopRight                    ? inner.topRight()
                                                              : inner.topLeft();
        (place.*move)(corner);
        if (!place.intersects(recorded))
            return place;
    }
    return std::nullopt;
}

std::optional<QRect> RecordingDesk::markPlace(const Rect& recorded, QSize mark)
{
    auto screens = QGuiApplication::screens();
    std::ranges::stable_partition(screens, [first = screenWith(recorded)](auto* screen) { return screen == first; });
    for (const auto* screen : screens) {
        const QRect area = recorded.width > 0 ? windowRect(recorded, displayRect(*screen), *screen) : QRect();
        if (const auto place = freeCorner(area, screen->availableGeometry(), mark))
            return place;
    }
    return std::nullopt;
}

void RecordingDesk::showMark()
{
    // On Wayland programs do not know the positions of their windows.
    if (isWayland() || !m_recorder.captured())
        return;
    // Windows above a recorded window are not recorded, but its user wants to see it.
    if (const auto place = markPlace(m_recorder.captured()->area, RecordingMark::usualSize))
        m_mark = std::make_unique<RecordingMark>(*place);
}

} // namespace orvo
