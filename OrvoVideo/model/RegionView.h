#pragma once

#include <QPainter>
#include <QPointF>
#include <QRectF>
#include <QSizeF>
#include <cstdint>
#include <functional>
#include <optional>

namespace orvo {

/// Drawing and input of the region picker, in its own coordinates.
///
/// The user moves a proposed rectangle by its middle and resizes it by its eight handles; Return accepts it. A drag that
/// begins elsewhere draws a new rectangle; the release accepts it.
class RegionView {
public:
    /// A drag of at most this size in either direction cancels.
    static constexpr double minSize = 20;

    /// Called once per gesture with the chosen rectangle, or nullopt if the user has cancelled.
    std::function<void(std::optional<QRectF>)> completion;

    /// Sets the size of the view, and the pixels per unit, for the displayed size.
    void setSpace(QSizeF size, QSizeF pixels);

    /// Shows a rectangle to accept or change.
    void propose(const QRectF& rect);
    const std::optional<QRectF>& proposed() const { return m_proposed; }

    void mouseDown(QPointF at);
    void mouseDragged(QPointF at);
    void mouseUp(QPointF at);
    /// Takes a `Qt::Key`.
    void keyDown(int key);
    /// The cursor for a position.
    Qt::CursorShape cursorAt(QPointF at) const;

    /// Draws the whole view; draws `backdrop` first unless it is null.
    void draw(QPainter& painter, QSizeF size, const QPixmap& backdrop) const;

private:
    /// The edges of the proposed rectangle that follow the pointer.
    struct Grip {
        int across = 0; ///< −1 the left edge, 1 the right one.
        int down = 0; ///< −1 the upper edge, 1 the lower one.
        bool whole = false; ///< The whole rectangle moves.
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
    QRectF m_before; ///< The proposed rectangle at the start of the drag.
    std::optional<Grip> m_grip; ///< Set while the proposed rectangle is changed.
    bool m_drawing = false;
};

} // namespace orvo
