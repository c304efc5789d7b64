#pragma once

#include "OrvoVideo/model/RegionPicker.h"
#include "OrvoVideo/model/RegionView.h"

#include <QPixmap>
#include <QRasterWindow>

namespace orvo {

/// A borderless window over one screen, in which the user drags a rectangle.
class RegionSelector final : public QRasterWindow {
    Q_OBJECT
public:
    /// Covers `screen`, which shows `display`, and takes the keyboard. Proposes `last` if the display contains it. Calls
    /// `completion` with the rectangle after hiding the window. All rectangles are in the global display space.
    RegionSelector(QScreen& screen, const Rect& display, const std::optional<Rect>& last, RegionPicker::Done completion);

protected:
    void mousePressEvent(QMouseEvent* event) override;
    void mouseDoubleClickEvent(QMouseEvent* event) override { mousePressEvent(event); } // A second quick press.
    void mouseMoveEvent(QMouseEvent* event) override;
    void mouseReleaseEvent(QMouseEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;
    void exposeEvent(QExposeEvent* event) override;
    void paintEvent(QPaintEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;
    bool event(QEvent* event) override;

private:
    void complete(std::optional<QRectF> rect);
    QPointF within(QPointF place) const;
    QSizeF unit() const;

    Rect m_display;
    std::optional<Rect> m_last;
    RegionPicker::Done m_completion;
    RegionView m_view;
    QPixmap m_backdrop; ///< A screenshot, for screens without transparent windows.
    bool m_dragging = false;
};

} // namespace orvo
