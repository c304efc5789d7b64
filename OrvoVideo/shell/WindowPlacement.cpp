#include "OrvoVideo/shell/WindowPlacement.h"

#include "Platform/settings/StoredSettings.h"

#include <QEvent>
#include <QScreen>
#include <algorithm>
#include <string_view>

namespace orvo {

namespace {

/// Assumed window frame until the window system reports the real one.
constexpr QSize usualFrame{2, 40};

constexpr std::string_view storedWidth = "window.width";
constexpr std::string_view storedHeight = "window.height";
constexpr std::string_view storedMaximized = "window.maximized";

int storedLength(std::string_view key, int usual)
{
    bool isNumber = false;
    const int length = QString::fromStdString(StoredSettings::text(key).value_or("")).toInt(&isNumber);
    return isNumber ? length : usual;
}

QSize frameOf(const QWindow& window)
{
    const QMargins frame = window.frameMargins();
    return {frame.left() + frame.right(), frame.top() + frame.bottom()};
}

} // namespace

WindowPlacement::WindowPlacement(QWindow& window, QObject* parent)
    : QObject(parent)
    , m_window(&window)
{
    m_settling.setSingleShot(true);
    m_settling.setInterval(250);
    connect(&m_settling, &QTimer::timeout, this, &WindowPlacement::note);
    const auto change = [this] { m_settling.start(); };
    connect(m_window, &QWindow::widthChanged, this, change);
    connect(m_window, &QWindow::heightChanged, this, change);
    connect(m_window, &QWindow::windowStateChanged, this, change);
}

WindowPlacement::~WindowPlacement()
{
    if (m_settling.isActive())
        note();
}

void WindowPlacement::show()
{
    m_size = {storedLength(storedWidth, usualSize.width()), storedLength(storedHeight, usualSize.height())};
    m_maximized = StoredSettings::text(storedMaximized) == "true";

    const QSize room = m_window->screen()->availableGeometry().size();
    m_window->setMinimumSize(minimumSize.boundedTo(room));
    m_window->resize(m_size.boundedTo(room - usualFrame).expandedTo(m_window->minimumSize()));
    m_window->installEventFilter(this);
    if (m_maximized)
        m_window->showMaximized();
    else
        m_window->show();
}

bool WindowPlacement::eventFilter(QObject* watched, QEvent* event)
{
    // The frame is known once the window is exposed.
    if (event->type() == QEvent::Expose && m_window && m_window->isExposed()) {
        watched->removeEventFilter(this);
        QMetaObject::invokeMethod(this, &WindowPlacement::keepInside, Qt::QueuedConnection);
    }
    return QObject::eventFilter(watched, event);
}

void WindowPlacement::bringBack()
{
    // `QWindow::show` would give a maximised window its normal size.
    m_window->setWindowStates(m_window->windowStates() & ~Qt::WindowMinimized);
    m_window->setVisible(true);
    m_window->raise();
    m_window->requestActivate();
}

void WindowPlacement::keepInside()
{
    if (!m_window || m_window->windowStates() != Qt::WindowNoState)
        return;
    const QRect room = m_window->screen()->availableGeometry();
    const QSize fitting = m_window->size().boundedTo(room.size() - frameOf(*m_window));
    if (fitting != m_window->size()) {
        m_window->setMinimumSize(m_window->minimumSize().boundedTo(fitting));
        m_window->resize(fitting);
    }
    const QRect whole = m_window->frameGeometry();
    const QPoint inside(std::clamp(whole.x(), room.x(), std::max(room.x(), room.x() + room.width() - whole.width())),
        std::clamp(whole.y(), room.y(), std::max(room.y(), room.y() + room.height() - whole.height())));
    if (inside != whole.topLeft())
        m_window->setFramePosition(inside);
}

void WindowPlacement::note()
{
    m_settling.stop();
    if (!m_window)
        return;
    const auto states = m_window->windowStates();
    if (states.testAnyFlags(Qt::WindowMinimized | Qt::WindowFullScreen))
        return;
    // The window system changes the state of hidden and closed windows on its own.
    if (m_window->isVisible())
        m_maximized = states.testFlag(Qt::WindowMaximized);
    if (!m_maximized)
        m_size = m_window->size();
    StoredSettings::remember(storedWidth, std::to_string(m_size.width()));
    StoredSettings::remember(storedHeight, std::to_string(m_size.height()));
    StoredSettings::remember(storedMaximized, m_maximized ? "true" : "false");
}

} // namespace orvo
