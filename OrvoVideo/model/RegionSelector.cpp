#include "OrvoVideo/model/RegionSelector.h"

#include "Platform/desktop/WindowSystem.h"
#include "Platform/settings/StoredSettings.h"

#include <QGuiApplication>
#include <QMouseEvent>
#include <QPainter>
#include <QScreen>
#include <algorithm>
#include <format>
#include <sstream>
#include <utility>

namespace orvo {

namespace {

/// Owns the open picker window.
class ScreenRegionPicker final : public RegionPicker {
public:
    ~ScreenRegionPicker() override { finish(std::nullopt); }

    bool pick(const CaptureSource& source, Done done) override
    {
        if (!source.displayID)
            return false;
        auto* screen = screenOf(source.rect);
        if (!screen)
            return false;
        finish(std::nullopt);
        m_done = std::move(done);
        m_window = std::make_unique<RegionSelector>(*screen, source.rect, lastRegion(), [this](std::optional<Rect> rect) {
            if (rect)
                StoredSettings::remember(setting, std::format("{} {} {} {}", rect->x, rect->y, rect->width, rect->height));
            finish(rect);
        });
        return true;
    }

private:
    static constexpr auto setting = "region.last";

    static std::optional<Rect> lastRegion()
    {
        std::istringstream stored(StoredSettings::text(setting).value_or(""));
        Rect rect;
        const bool isWhole = static_cast<bool>(stored >> rect.x >> rect.y >> rect.width >> rect.height);
        return isWhole && rect.width > 0 && rect.height > 0 ? std::optional(rect) : std::nullopt;
    }

    void finish(std::optional<Rect> rect)
    {
        if (m_window)
            m_window.release()->deleteLater(); // The call may come from the window itself.
        if (const auto done = std::exchange(m_done, nullptr))
            done(rect);
    }

    Done m_done;
    std::unique_ptr<RegionSelector> m_window;
};

} // namespace

std::unique_ptr<RegionPicker> RegionPicker::create()
{
    return std::make_unique<ScreenRegionPicker>();
}

QScreen* screenOf(const Rect& display)
{
    const auto screens = QGuiApplication::screens();
    // The corner of a screen is in pixels even if the screen is scaled.
    for (auto* screen : screens) {
        const QPointF corner = screen->geometry().topLeft();
        if (corner == QPointF(display.x, display.y))
            return screen;
    }
    return screens.size() == 1 ? screens.front() : nullptr;
}

RegionSelector::RegionSelector(
    QScreen& screen, const Rect& display, const std::optional<Rect>& last, RegionPicker::Done completion)
    : m_display(display)
    , m_last(last)
    , m_completion(std::move(completion))
{
    m_view.completion = [this](std::optional<QRectF> rect) { complete(rect); };
    QSurfaceFormat translucent = format();
    translucent.setAlphaBufferSize(8);
    setFormat(translucent);
    setFlags(Qt::Window | Qt::FramelessWindowHint | Qt::WindowStaysOnTopHint);
    setTitle(QStringLiteral("Seleccionar zona"));
    setCursor(Qt::CrossCursor);
    setScreen(&screen);
    setGeometry(screen.geometry());
    if (!blendsWindows())
        m_backdrop = screen.grabWindow(0);
    showFullScreen();
    requestActivate();
}

void RegionSelector::complete(std::optional<QRectF> rect)
{
    hide();
    const auto completion = std::exchange(m_completion, nullptr);
    if (!completion)
        return;
    if (!rect)
        return completion(std::nullopt);
    const auto [across, down] = unit();
    completion(Rect{
        m_display.x + rect->x() * across, m_display.y + rect->y() * down, rect->width() * across, rect->height() * down});
}

/// The size of a unit of the view in the global display space: the screen may be scaled.
QSizeF RegionSelector::unit() const
{
    return {m_display.width > 0 ? m_display.width / width() : devicePixelRatio(),
        m_display.height > 0 ? m_display.height / height() : devicePixelRatio()};
}

void RegionSelector::resizeEvent(QResizeEvent* event)
{
    QRasterWindow::resizeEvent(event);
    const QSizeF unit = this->unit();
    m_view.setSpace(size(), unit);
    if (!m_last)
        return;
    const QRectF last((m_last->x - m_display.x) / unit.width(), (m_last->y - m_display.y) / unit.height(),
        m_last->width / unit.width(), m_last->height / unit.height());
    if (QRectF(QPointF(), QSizeF(size())).adjusted(-1, -1, 1, 1).contains(last)) {
        m_last.reset();
        m_view.propose(last);
    }
}

/// The nearest point of the screen: positions of a drag may be outside.
QPointF RegionSelector::within(QPointF place) const
{
    return {std::clamp<qreal>(place.x(), 0, width()), std::clamp<qreal>(place.y(), 0, height())};
}

void RegionSelector::mousePressEvent(QMouseEvent* event)
{
    if (event->button() != Qt::LeftButton)
        return;
    m_dragging = true;
    m_view.mouseDown(within(event->position()));
    update();
}

void RegionSelector::mouseMoveEvent(QMouseEvent* event)
{
    setCursor(m_view.cursorAt(event->position()));
    if (!m_dragging)
        return;
    m_view.mouseDragged(within(event->position()));
    update();
}

void RegionSelector::mouseReleaseEvent(QMouseEvent* event)
{
    if (event->button() == Qt::LeftButton && std::exchange(m_dragging, false))
        m_view.mouseUp(within(event->position()));
    update();
}

void RegionSelector::keyPressEvent(QKeyEvent* event)
{
    m_view.keyDown(event->key());
}

void RegionSelector::exposeEvent(QExposeEvent* event)
{
    QRasterWindow::exposeEvent(event);
    requestActivate(); // Only a visible window can take the keyboard.
}

void RegionSelector::paintEvent(QPaintEvent*)
{
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    m_view.draw(painter, size(), m_backdrop);
}

bool RegionSelector::event(QEvent* event)
{
    if (event->type() != QEvent::Close)
        return QRasterWindow::event(event);
    // Ignore the event: closing the last visible window would quit the application.
    event->ignore();
    complete(std::nullopt);
    return true;
}

} // namespace orvo
