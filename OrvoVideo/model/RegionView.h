#pragma once

#include <QPainter>
#include <QPointF>
#include <QRectF>
#include <QSizeF>
#include <cstdint>
#include <functional>
#include <optional>

namespace orvo {

/// What the region picker shows and understands, in its own coordinates.
///
/// A rectangle that was proposed can be moved by its middle and changed by its eight handles; Return accepts it. A drag
/// that begins elsewhere draws another one, which is accepted when it is released.
class RegionView {
public:
    /// A drag of no more than this in either direction selects nothing.
    static constexpr double smallest = 20;

    /// Told the chosen rectangle, or nothing when the user has cancelled: once for each gesture.
    std::function<void(std::optional<QRectF>)> completion;

    /// The size of the view, and how many pixels of the screen one of its units is, for the size that is shown.
    void setSpace(QSizeF size, QSizeF pixels);

    /// Shows a rectangle to accept or to change.
    void propose(const QRectF& rect);
    const std::optional<QRectF>& proposed() const { return m_proposed; }

    void mouseDown(QPointF at);
    void mouseDragged(QPointF at);
    void mouseUp(QPointF at);
    /// A key of Qt.
    void keyDown(int key);
    /// What the pointer would do at this place.
    Qt::CursorShape cursorAt(QPointF at) const;

    /// Over the whole view; `backdrop`, if there is one, takes the place of what lies behind.
    void draw(QPainter& painter, QSizeF size, const QPixmap& backdrop) const;

private:
    /// Which edges of the proposed rectangle follow the pointer.
    struct Grip {
        int across = 0; ///< −1 the left edge, 1 the right one.
        int down = 0; ///< −1 the upper edge, 1 the lower one.
        bool whole = false; ///< All of it.
    };

    std::optional<Grip> gripAt(QPointF at) const;
    void drag(QPointF by);
    QRectF dragged() const;
    QRectF shown() const;
    void drawHandles(QPainter& painter, const QRectF& rect) const;
    void drawSize(QPainter& painter, const QRectF& rect, QSizeF size) const;

    QPointF m_start;
    QPointF m_current;
    QSizeF m_size;
    QSizeF m_pixels{1, 1};
    std::optional<QRectF> m_proposed;
    QRectF m_before; ///< The proposed rectangle when the drag began.
    std::optional<Grip> m_grip; ///< While the proposed rectangle is changed.
    bool m_drawing = false;
};

} // namespace orvo
