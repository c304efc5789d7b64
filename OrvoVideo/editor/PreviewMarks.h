#pragma once

#include <QFont>
#include <QQuickPaintedItem>
#include <cstdint>
#include <vector>

namespace orvo {

/// A pointer mark as an export draws it, at the same size. Place its `origin` at the position of the pointer.
class PointerMark : public QQuickPaintedItem {
    Q_OBJECT
    QML_ELEMENT
    Q_PROPERTY(Shape shape MEMBER m_shape NOTIFY changed REQUIRED)
    /// The size of one export pixel.
    Q_PROPERTY(double pixel MEMBER m_pixel NOTIFY changed)
    /// Progress of a halo: 0 at the click, 1 at the end.
    Q_PROPERTY(double progress MEMBER m_progress NOTIFY changed)
    /// The position of the pointer inside this item.
    Q_PROPERTY(QPointF origin READ origin NOTIFY changed)
public:
    enum class Shape : std::uint8_t { Arrow, Highlight, Halo };
    Q_ENUM(Shape)

    explicit PointerMark(QQuickItem* parent = nullptr);

    QPointF origin() const;
    void paint(QPainter* painter) override;

signals:
    void changed();

private:
    void resize();

    Shape m_shape = Shape::Arrow;
    double m_pixel = 1;
    double m_progress = 0;
};

/// A text as an export burns it in: white, bold, with a thin dark edge, wrapped at the width of the frame. The item is as
/// large as the text.
class OverlayText : public QQuickPaintedItem {
    Q_OBJECT
    QML_ELEMENT
    Q_PROPERTY(QString text MEMBER m_text NOTIFY changed)
    /// Distance between the highest and the lowest point of the font, in export pixels.
    Q_PROPERTY(int textSize MEMBER m_textSize NOTIFY changed)
    /// The width at which lines wrap, in export pixels.
    Q_PROPERTY(double lineWidth MEMBER m_lineWidth NOTIFY changed)
    /// The size of one export pixel.
    Q_PROPERTY(double pixel MEMBER m_pixel NOTIFY changed)
public:
    explicit OverlayText(QQuickItem* parent = nullptr);

    void paint(QPainter* painter) override;

signals:
    void changed();

private:
    struct Line {
        QString text;
        double baseline = 0; ///< Export pixels from the top.
    };

    void layOut();

    QString m_text;
    int m_textSize = 18;
    double m_lineWidth = 1920;
    double m_pixel = 1;
    QFont m_font;
    double m_fontScale = 1; ///< From the size of `m_font` to export pixels.
    std::vector<Line> m_lines;
};

} // namespace orvo
