#include "OrvoVideo/model/RegionView.h"

#include <QFont>
#include <QFontMetricsF>
#include <QPainterPath>
#include <array>
#include <cmath>

namespace orvo {

namespace {

constexpr double reach = 10; ///< Maximum distance of the pointer from the edge that it grips.
constexpr double handle = 10;
constexpr QColor accent(0xB0, 0x87, 0xFF);
constexpr QColor panel(0x1D, 0x1A, 0x24);

QFont fontOf(const QPainter& painter, int pixels)
{
    QFont font = painter.font();
    font.setPixelSize(pixels);
    font.setWeight(QFont::DemiBold);
    return font;
}

} // namespace

void RegionView::setSpace(QSizeF size, QSizeF pixels)
{
    m_size = size;
    m_pixels = pixels;
}

void RegionView::propose(const QRectF& rect)
{
    if (rect.width() > minSize && rect.height() > minSize)
        m_proposed = rect;
}

void RegionView::mouseDown(QPointF at)
{
    m_start = m_current = at;
    m_grip = gripAt(at);
    m_drawing = !m_grip;
    if (m_grip)
        m_before = *m_proposed;
    else
        m_proposed.reset();
}

void RegionView::mouseDragged(QPointF at)
{
    m_current = at;
    if (m_grip)
        drag(at - m_start);
}

void RegionView::mouseUp(QPointF at)
{
    mouseDragged(at);
    if (m_grip) {
        m_grip.reset();
        return;
    }
    m_drawing = false;
    const QRectF rect = dragged();
    completion(rect.width() > minSize && rect.height() > minSize ? std::optional(rect) : std::nullopt);
}

void RegionView::keyDown(int key)
{
    if (key == Qt::Key_Escape)
        completion(std::nullopt);
    else if ((key == Qt::Key_Return || key == Qt::Key_Enter) && m_proposed)
        completion(m_proposed);
}

Qt::CursorShape RegionView::cursorAt(QPointF at) const
{
    const auto grip = m_grip ? m_grip : gripAt(at);
    if (!grip)
        return Qt::CrossCursor;
    if (grip->whole)
        return Qt::SizeAllCursor;
    if (grip->across == 0)
        return Qt::SizeVerCursor;
    if (grip->down == 0)
        return Qt::SizeHorCursor;
    return grip->across == grip->down ? Qt::SizeFDiagCursor : Qt::SizeBDiagCursor;
}

std::optional<RegionView::Grip> RegionView::gripAt(QPointF at) const
{
    if (!m_proposed || !m_proposed->adjusted(-reach, -reach, reach, reach).contains(at))
        return std::nullopt;
    const auto edge = [](double place, double first, double last) {
        const double toFirst = std::abs(place - first);
        const double toLast = std::abs(place - last);
        if (std::min(toFirst, toLast) > reach)
            return 0;
        return toFirst < toLast ? -1 : 1;
    };
    Grip grip{.across = edge(at.x(), m_proposed->left(), m_proposed->right()),
        .down = edge(at.y(), m_proposed->top(), m_proposed->bottom())};
    grip.whole = grip.across == 0 && grip.down == 0;
    return grip;
}

/// Keeps the rectangle within the view and large enough to accept.
void RegionView::drag(QPointF by)
{
    constexpr double minLength = minSize + 1;
    QRectF rect = m_before;
    if (m_grip->whole) {
        const double x = std::clamp(rect.x() + by.x(), 0.0, std::max(0.0, m_size.width() - rect.width()));
        const double y = std::clamp(rect.y() + by.y(), 0.0, std::max(0.0, m_size.height() - rect.height()));
        rect.moveTo(x, y);
    }
    if (m_grip->across < 0)
        rect.setLeft(std::clamp(rect.left() + by.x(), 0.0, rect.right() - minLength));
    else if (m_grip->across > 0)
        rect.setRight(std::clamp(rect.right() + by.x(), rect.left() + minLength, m_size.width()));
    if (m_grip->down < 0)
        rect.setTop(std::clamp(rect.top() + by.y(), 0.0, rect.bottom() - minLength));
    else if (m_grip->down > 0)
        rect.setBottom(std::clamp(rect.bottom() + by.y(), rect.top() + minLength, m_size.height()));
    m_proposed = rect;
}

QRectF RegionView::dragged() const
{
    return {std::min(m_start.x(), m_current.x()), std::min(m_start.y(), m_current.y()),
        std::abs(m_current.x() - m_start.x()), std::abs(m_current.y() - m_start.y())};
}

QRectF RegionView::shown() const
{
    return m_proposed.value_or(m_drawing ? dragged() : QRectF());
}

void RegionView::draw(QPainter& painter, QSizeF size, const QPixmap& backdrop) const
{
    const QRectF whole(QPointF(), size);
    const QRectF rect = shown();
    painter.setCompositionMode(QPainter::CompositionMode_Source);
    if (backdrop.isNull())
        painter.fillRect(whole, Qt::transparent);
    else
        painter.drawPixmap(whole, backdrop, QRectF(backdrop.rect()));
    painter.setCompositionMode(QPainter::CompositionMode_SourceOver);
    // The inside keeps its brightness. An almost transparent fill keeps pointer presses in this window.
    QPainterPath around;
    around.addRect(whole);
    around.addRect(rect);
    painter.fillPath(around, QColor::fromRgbF(0, 0, 0, 0.45F));
    painter.fillRect(rect, QColor(0, 0, 0, 1));

    painter.setPen(QPen(Qt::white, 2));
    painter.setBrush(Qt::NoBrush);
    painter.drawRect(rect);
    if (!rect.isEmpty())
        drawSize(painter, rect, size);
    if (m_proposed)
        drawHandles(painter, rect);

    painter.setPen(Qt::white);
    painter.setFont(fontOf(painter, 20));
    constexpr double margin = 24;
    constexpr double bottom = 60;
    const QString hint = QStringLiteral("Arrastra para seleccionar · Esc para cancelar");
    painter.drawText(QRectF(margin, 0, size.width() - margin, bottom), Qt::AlignLeft | Qt::AlignBottom,
        m_proposed ? QStringLiteral("Intro para grabar esta zona · ") + hint : hint);
}

void RegionView::drawHandles(QPainter& painter, const QRectF& rect) const
{
    painter.setPen(QPen(panel, 1));
    painter.setBrush(accent);
    const QPointF middle = rect.center();
    for (const QPointF& place :
        std::array{rect.topLeft(), QPointF(middle.x(), rect.top()), rect.topRight(), QPointF(rect.right(), middle.y()),
            rect.bottomRight(), QPointF(middle.x(), rect.bottom()), rect.bottomLeft(), QPointF(rect.left(), middle.y())})
        painter.drawEllipse(place, handle / 2, handle / 2);
}

/// In pixels, above the rectangle, or inside it without room above.
void RegionView::drawSize(QPainter& painter, const QRectF& rect, QSizeF size) const
{
    painter.setFont(fontOf(painter, 13));
    const QString text = QStringLiteral("%1×%2")
                             .arg(std::lround(rect.width() * m_pixels.width()))
                             .arg(std::lround(rect.height() * m_pixels.height()));
    constexpr double padding = 8;
    constexpr double height = 24;
    const double width = QFontMetricsF(painter.font()).horizontalAdvance(text) + 2 * padding;
    QRectF label(rect.left(), rect.top() - height - padding, width, height);
    if (label.top() < 0)
        label.moveTop(rect.top() + padding);
    label.moveLeft(std::clamp(label.left(), 0.0, std::max(0.0, size.width() - width)));
    painter.setPen(Qt::NoPen);
    painter.setBrush(panel);
    painter.drawRoundedRect(label, 6, 6);
    painter.setPen(Qt::white);
    painter.drawText(label, Qt::AlignCenter, text);
}

} // namespace orvo
