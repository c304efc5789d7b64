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
    /// Over `screen`, which shows `display` of the global display space. Shown, and given the keyboard. `last`, in the
    /// global display space, is proposed where it lies on the display. `completion` is told the rectangle in the global
    /// display space, once the window is out of sight.
    RegionSelector(QScreen& screen, const Rect& display, const std::optional<Rect>& last, RegionPicker::Done completion);

protected:
    void mousePressEvent(QMouseEvent* event) override;
    void mouseDoubleClickEvent(QMouseEvent* event) override { mousePressEvent(event); } // A press that came soon.
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
    QPixmap m_backdrop; ///< The screen as it was, where windows cannot be seen through.
    bool m_dragging = false;
};

} // namespace orvo
