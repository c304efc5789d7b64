#pragma once

#include <QFont>
#include <QQuickPaintedItem>
#include <cstdint>
#include <vector>

namespace orvo {

/// One of the marks that an export draws for the pointer, of the size that it has there. Its `origin` is to be put where the
/// pointer is.
class PointerMark : public QQuickPaintedItem {
    Q_OBJECT
    QML_ELEMENT
    Q_PROPERTY(Shape shape MEMBER m_shape NOTIFY changed REQUIRED)
    /// The size of one pixel of the export.
    Q_PROPERTY(double pixel MEMBER m_pixel NOTIFY changed)
    /// Of a halo: 0 at the click, 1 at the end.
    Q_PROPERTY(double progress MEMBER m_progress NOTIFY changed)
    /// Where the pointer's place lies in this item.
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

/// A text as an export burns it in: white, bold, with a thin dark edge, its lines broken at the width of the frame. As large
/// as the text.
class OverlayText : public QQuickPaintedItem {
    Q_OBJECT
    QML_ELEMENT
    Q_PROPERTY(QString text MEMBER m_text NOTIFY changed)
    /// Distance between the highest and lowest point of the font, in pixels of the export.
    Q_PROPERTY(int textSize MEMBER m_textSize NOTIFY changed)
    /// Where lines break, in pixels of the export.
    Q_PROPERTY(double lineWidth MEMBER m_lineWidth NOTIFY changed)
    /// The size of one pixel of the export.
    Q_PROPERTY(double pixel MEMBER m_pixel NOTIFY changed)
public:
    explicit OverlayText(QQuickItem* parent = nullptr);

    void paint(QPainter* painter) override;

signals:
    void changed();

private:
    struct Line {
        QString text;
        double baseline = 0; ///< Pixels of the export from the top.
    };

    void layOut();

    QString m_text;
    int m_textSize = 18;
    double m_lineWidth = 1920;
    double m_pixel = 1;
    QFont m_font;
    double m_fontScale = 1; ///< From the size of `m_font` to pixels of the export.
    std::vector<Line> m_lines;
};

} // namespace orvo
