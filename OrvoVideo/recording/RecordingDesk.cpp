#include "OrvoVideo/recording/RecordingDesk.h"

#include "OrvoVideo/recording/RecordingWindows.h"

#include <QGuiApplication>
#include <QScreen>
#include <utility>

namespace orvo {

namespace {

/// An area of the global display space in the coordinates of the windows of this screen, which may be scaled.
QRect windowRect(const Rect& area, const Rect& display, const QScreen& screen)
{
    const QRect shown = screen.geometry();
    if (display.width <= 0 || display.height <= 0)
        return shown;
    const double across = shown.width() / display.width;
    const double down = shown.height() / display.height;
    return QRectF(shown.x() + (area.x - display.x) * across, shown.y() + (area.y - display.y) * down, area.width * across,
        area.height * down)
        .toAlignedRect();
}

/// The screen that shows most of an area.
QScreen* screenWith(const Rect& area)
{
    if (auto* screen = screenOf(area))
        return screen;
    auto* found = QGuiApplication::screenAt(
        QPoint(static_cast<int>(area.x + area.width / 2), static_cast<int>(area.y + area.height / 2)));
    return found ? found : QGuiApplication::primaryScreen();
}

} // namespace

RecordingDesk::RecordingDesk(AppModel& model, std::function<WayBack()> wayBack, QObject* parent)
    : QObject(parent)
    , m_model(model)
    , m_wayBack(std::move(wayBack))
{
    connect(&m_model, &AppModel::capturingChanged, this, &RecordingDesk::followCapture);
    connect(&m_model, &AppModel::countdownChanged, this, &RecordingDesk::followCountdown);
    connect(&m_model, &AppModel::recordingChanged, this, &RecordingDesk::followRecording);
    connect(&m_model, &AppModel::recordingTimeChanged, this, [this] {
        if (m_mark)
            m_mark->setTime(m_model.recordingTime());
    });
}

RecordingDesk::~RecordingDesk() = default;

void RecordingDesk::followCapture()
{
    if (!m_model.capturing()) {
        m_countdown.reset();
        m_mark.reset();
        restore();
    } else if (m_cleared.empty() && !m_model.captured()->source.windowID) {
        clear();
    }
}

void RecordingDesk::followCountdown()
{
    if (m_model.countdown() == 0) {
        m_countdown.reset();
        return;
    }
    if (!m_countdown) {
        const auto& captured = *m_model.captured();
        auto* screen = screenWith(captured.source.rect);
        const QRect area =
            captured.source.windowID ? screen->geometry() : windowRect(captured.area, captured.source.rect, *screen);
        m_countdown = std::make_unique<CountdownWindow>(*screen, area.center());
    }
    m_countdown->setCount(m_model.countdown());
}

void RecordingDesk::followRecording()
{
    if (m_model.isRecording() && !m_mark)
        showMark();
    else if (!m_model.isRecording())
        m_mark.reset();
    if (m_mark)
        m_mark->setPaused(m_model.isPaused());
}

void RecordingDesk::clear()
{
    const bool canHide = m_wayBack() == WayBack::elsewhere;
    for (auto* window : QGuiApplication::topLevelWindows()) {
        const bool isOurs = window->type() == Qt::Window || window->type() == Qt::Dialog;
        if (!window->isVisible() || !isOurs || window->transientParent())
            continue;
        m_cleared.push_back({window, window->visibility()});
        if (canHide)
            window->hide();
        else
            window->showMinimized();
    }
}

void RecordingDesk::restore()
{
    for (const auto& [window, visibility] : std::exchange(m_cleared, {})) {
        if (!window)
            continue;
        window->setVisibility(visibility == QWindow::Minimized ? QWindow::AutomaticVisibility : visibility);
        window->raise();
        window->requestActivate();
    }
}

std::optional<QRect> RecordingDesk::freeCorner(const QRect& recorded, const std::vector<QRect>& screens, QSize mark)
{
    constexpr int margin = 12;
    for (const QRect& screen : screens) {
        const QRect inner = screen.marginsRemoved({margin, margin, margin, margin});
        QRect place({}, mark);
        for (const auto move :
            {&QRect::moveBottomRight, &QRect::moveBottomLeft, &QRect::moveTopRight, &QRect::moveTopLeft}) {
            const QPoint corner = move == &QRect::moveBottomRight ? inner.bottomRight()
                : move == &QRect::moveBottomLeft                  ? inner.bottomLeft()
                : move == &QRect::moveTopRight                    ? inner.topRight()
                                                                  : inner.topLeft();
            (place.*move)(corner);
            if (!place.intersects(recorded))
                return place;
        }
    }
    return std::nullopt;
}

void RecordingDesk::showMark()
{
    // Programs cannot say where their windows lie on Wayland.
    if (QGuiApplication::platformName().startsWith(QLatin1String("wayland")) || !m_model.captured())
        return;
    const auto& captured = *m_model.captured();
    auto* screen = screenWith(captured.source.rect);
    std::vector<QRect> screens{screen->availableGeometry()};
    for (auto* other : QGuiApplication::screens()) {
        if (other != screen)
            screens.push_back(other->availableGeometry());
    }
    // A window is recorded alone, whatever lies over it, but its user wants to see it.
    const QRect recorded = captured.source.windowID ? captured.area.width > 0
            ? QRectF(captured.area.x, captured.area.y, captured.area.width, captured.area.height).toAlignedRect()
            : QRect()
                                                    : windowRect(captured.area, captured.source.rect, *screen);
    if (const auto place = freeCorner(recorded, screens, RecordingMark::usualSize))
        m_mark = std::make_unique<RecordingMark>(*place);
}

} // namespace orvo
