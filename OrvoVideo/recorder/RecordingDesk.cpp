#include "OrvoVideo/recorder/RecordingDesk.h"

#include "OrvoVideo/recorder/RecordingWindows.h"

#include <QGuiApplication>
#include <QScreen>
#include <algorithm>
#include <array>
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

/// Whether a recording of the display would show the window. Popups close by themselves; the countdown and the bar stay.
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

/// Whether the compositor ignores requests to minimise a window, as tiling compositors do. Qt offers no query for this.
bool ignoresMinimizing()
{
    if (!isWayland())
        return false;
    const QString desktop = qEnvironmentVariable("XDG_CURRENT_DESKTOP").toLower();
    constexpr std::array minimizing{"gnome", "kde", "unity", "pantheon", "cinnamon", "xfce", "lxqt", "mate", "budgie"};
    return std::ranges::none_of(minimizing, [&](const char* name) { return desktop.contains(QLatin1String(name)); });
}

} // namespace

RecordingDesk::RecordingDesk(Recorder& recorder, std::function<WayBack()> wayBack, QObject* parent)
    : QObject(parent)
    , m_recorder(recorder)
    , m_wayBack(std::move(wayBack))
{
    connect(&m_recorder, &Recorder::phaseChanged, this, [this] {
        followCountdown();
        followCapture();
        followBar();
    });
    connect(qGuiApp, &QGuiApplication::focusWindowChanged, this, &RecordingDesk::followBar);
}

RecordingDesk::~RecordingDesk() = default;

void RecordingDesk::followCapture()
{
    if (!m_recorder.capturing()) {
        m_countdown.reset();
        m_bar.reset();
        restore();
    } else if (m_cleared.empty() && !m_recorder.captured()->source.windowID) {
        clear();
    }
    if (m_recorder.phase() == Recorder::Phase::CountingThree)
        emit cleared();
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
            *screen, area.center(), m_recorder.capture()->frame(), QString::fromStdString(captured.source.label));
    }
    m_countdown->setCount(m_recorder.countdown());
}

void RecordingDesk::followBar()
{
    if (!m_recorder.isRecording() || isOursInFront()) {
        if (m_bar)
            m_bar->hide();
        return;
    }
    if (!m_bar && hasBar())
        makeBar();
    if (m_bar && !m_bar->isVisible())
        m_bar->show();
}

/// Ignores the bar, which may get the focus on its own, and windows that stay aside.
bool RecordingDesk::isOursInFront() const
{
    const auto* front = QGuiApplication::focusWindow();
    return front && front != m_bar.get() && isInTheWay(*front) && !front->property(staysAside).toBool();
}

bool RecordingDesk::hasBar() const
{
    if (!m_recorder.captured())
        return false;
    // On Wayland programs do not know the positions of their windows, but one window is recorded without the others.
    return isWayland() ? m_recorder.captured()->source.id.starts_with('w') : barPlace().has_value();
}

std::optional<QRect> RecordingDesk::barPlace() const
{
    // Avoids a recorded window too: the recording would not show the bar, but the bar would cover the window for the user.
    return freePlace(m_recorder.captured()->area, barSize);
}

void RecordingDesk::makeBar()
{
    m_bar = std::make_unique<QQuickView>();
    m_bar->setTitle(QStringLiteral("Grabando"));
    m_bar->setColor(Qt::transparent);
    m_bar->setInitialProperties({{QStringLiteral("recorder"), QVariant::fromValue(&m_recorder)}});
    m_bar->loadFromModule("Orvo.Recorder", "RecordingBar");
    const auto floating = isWayland() ? Qt::Window : Qt::ToolTip; // Wayland tooltips need a parent window.
    m_bar->setFlags(floating | Qt::FramelessWindowHint | Qt::WindowStaysOnTopHint | Qt::WindowDoesNotAcceptFocus);
    m_bar->resize(barSize);
    if (!isWayland())
        m_bar->setGeometry(*barPlace());
}

void RecordingDesk::clear()
{
    for (auto* window : QGuiApplication::topLevelWindows()) {
        if (isInTheWay(*window))
            m_cleared.push_back({window, window->windowStates(), window->framePosition(), window->screen()});
    }
    std::ranges::stable_sort(m_cleared, {}, [](const Cleared& cleared) { return depthOf(*cleared.window); });
    m_active = QGuiApplication::focusWindow();
    const bool isOnlyWay = m_wayBack() == WayBack::windowOnly;
    m_hidesTheOnlyWay = isOnlyWay && ignoresMinimizing();
    for (auto& cleared : m_cleared | std::views::reverse) {
        auto& window = *cleared.window;
        cleared.wasMoved = stays(window);
        if (cleared.wasMoved)
            continue;
        if (!isOnlyWay || m_hidesTheOnlyWay || window.transientParent())
            window.hide();
        else
            window.showMinimized();
    }
}

/// Whether a window may stay because it is not recorded. Moves it aside if necessary.
bool RecordingDesk::stays(QWindow& window)
{
    if (!window.property(staysAside).toBool())
        return false;
    const auto& captured = *m_recorder.captured();
    const auto* recorded = screenWith(captured.source.rect);
    if (isWayland()) // Clients cannot move windows, but know their screens.
        return window.screen() != recorded && captured.source.rect.width > 0;
    const QRect area = windowRect(captured.area, displayRect(*recorded), *recorded);
    if (!window.frameGeometry().intersects(area))
        return true;
    const auto place = freePlace(captured.area, window.frameGeometry().size(), barPlace().value_or(QRect()));
    if (!place)
        return false;
    if (auto* screen = QGuiApplication::screenAt(place->center()))
        window.setScreen(screen);
    window.setFramePosition(place->topLeft());
    return true;
}

void RecordingDesk::restore()
{
    m_hidesTheOnlyWay = false;
    if (m_cleared.empty())
        return;
    QWindow* active = m_active;
    for (const auto& [window, states, position, screen, wasMoved] : std::exchange(m_cleared, {})) {
        if (!window)
            continue;
        // A window that is shown again is placed by the window manager unless it requests its position.
        if (screen && window->screen() != screen)
            window->setScreen(screen);
        if (states == Qt::WindowNoState)
            window->setFramePosition(position);
        if (wasMoved)
            continue;
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

std::optional<QRect> RecordingDesk::freeCorner(const QRect& recorded, const QRect& screen, QSize size, const QRect& avoided)
{
    constexpr int margin = 12;
    const QRect inner = screen.marginsRemoved({margin, margin, margin, margin});
    QRect place({}, size);
    for (const auto move : {&QRect::moveBottomRight, &QRect::moveBottomLeft, &QRect::moveTopRight, &QRect::moveTopLeft}) {
        const QPoint corner = move == &QRect::moveBottomRight ? inner.bottomRight()
            : move == &QRect::moveBottomLeft                  ? inner.bottomLeft()
            : move == &QRect::moveTopRight                    ? inner.topRight()
                                                              : inner.topLeft();
        (place.*move)(corner);
        if (inner.contains(place) && !place.intersects(recorded) && !place.intersects(avoided))
            return place;
    }
    return std::nullopt;
}

std::optional<QRect> RecordingDesk::freePlace(const Rect& recorded, QSize size, const QRect& avoided)
{
    auto screens = QGuiApplication::screens();
    std::ranges::stable_partition(screens, [first = screenWith(recorded)](auto* screen) { return screen == first; });
    for (const auto* screen : screens) {
        const QRect area = recorded.width > 0 ? windowRect(recorded, displayRect(*screen), *screen) : QRect();
        if (const auto place = freeCorner(area, screen->availableGeometry(), size, avoided))
            return place;
    }
    return std::nullopt;
}

} // namespace orvo
