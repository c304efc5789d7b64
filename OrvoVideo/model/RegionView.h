#pragma once

#include <QPainter>
#include <QPointF>
#include <QRectF>
#include <QSizeF>
#include <functional>
#include <optional>

namespace orvo {

/// What the region picker shows and understands, in its own coordinates.
class RegionView {
public:
    /// A drag of no more than this in either direction selects nothing.
    static constexpr double smallest = 20;

    /// Told the dragged rectangle, or nothing when the user has cancelled: once for each gesture.
    std::function<void(std::optional<QRectF>)> completion;

    void mouseDown(QPointF at);
    void mouseDragged(QPointF at);
    void mouseUp(QPointF at);
    /// A key of Qt.
    void keyDown(int key);

    /// Over the whole view; `backdrop`, if there is one, takes the place of what lies behind.
    void draw(QPainter& painter, QSizeF size, const QPixmap& backdrop) const;

private:
    QRectF dragged() const;

    QPointF m_start;
    QPointF m_current;
};

} // namespace orvo
