#include "OrvoVideo/model/RegionView.h"

#include <QFont>
#include <cmath>

namespace orvo {

void RegionView::mouseDown(QPointF at)
{
    m_start = m_current = at;
}

void RegionView::mouseDragged(QPointF at)
{
    m_current = at;
}

void RegionView::mouseUp(QPointF at)
{
    m_current = at;
    const QRectF rect = dragged();
    completion(rect.width() > smallest && rect.height() > smallest ? std::optional(rect) : std::nullopt);
}

void RegionView::keyDown(int key)
{
    if (key == Qt::Key_Escape)
        completion(std::nullopt);
}

QRectF RegionView::dragged() const
{
    return {std::min(m_start.x(), m_current.x()), std::min(m_start.y(), m_current.y()),
        std::abs(m_current.x() - m_start.x()), std::abs(m_current.y() - m_start.y())};
}

void RegionView::draw(QPainter& painter, QSizeF size, const QPixmap& backdrop) const
{
    const QRectF whole(QPointF(), size);
    painter.setCompositionMode(QPainter::CompositionMode_Source);
    if (backdrop.isNull()) {
        painter.fillRect(whole, QColor::fromRgbF(0, 0, 0, 0.45F));
        painter.setCompositionMode(QPainter::CompositionMode_SourceOver);
    } else {
        painter.drawPixmap(whole, backdrop, QRectF(backdrop.rect()));
        painter.setCompositionMode(QPainter::CompositionMode_SourceOver);
        painter.fillRect(whole, QColor::fromRgbF(0, 0, 0, 0.45F));
    }

    painter.setPen(QPen(Qt::white, 2));
    painter.drawRect(dragged());

    QFont font = painter.font();
    font.setPixelSize(20);
    font.setWeight(QFont::DemiBold);
    painter.setFont(font);
    constexpr double margin = 24;
    constexpr double bottom = 60;
    painter.drawText(QRectF(margin, 0, size.width() - margin, bottom), Qt::AlignLeft | Qt::AlignBottom,
        QStringLiteral("Arrastra para seleccionar · Esc para cancelar"));
}

} // namespace orvo
