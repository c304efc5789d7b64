#include "OrvoVideo/editor/PreviewMarks.h"

#include <QFontDatabase>
#include <QFontMetricsF>
#include <QPainter>
#include <QPainterPath>
#include <QTextLayout>
#include <algorithm>
#include <cmath>

namespace orvo {

namespace {

const QColor gold(0xFF, 0xD7, 0x00);
constexpr double highlightOpacity = 1 - 0x90 / 255.0;
constexpr double haloGrowth = 0.8; ///< Growth of a halo over its life, as a fraction of its initial size.
constexpr int fontPixels = 200; ///< Size at which the font is measured; outlines scale to any size.
constexpr double textEdge = 1; ///< Export pixels.

/// An ellipse of two curves through (-r, 0) and (r, 0), with control points `reach` above and below.
QPainterPath lens(double r, double reach)
{
    QPainterPath path(QPointF(-r, 0));
    path.cubicTo(-r, -reach, r, -reach, r, 0);
    path.cubicTo(r, reach, -r, reach, -r, 0);
    return path;
}

QPainterPath arrow()
{
    QPainterPath path(QPointF(0, 0));
    for (const auto& [x, y] : {std::pair{0, 20}, {5, 15}, {10, 25}, {14, 23}, {9, 13}, {17, 13}})
        path.lineTo(x, y);
    path.closeSubpath();
    return path;
}

/// Half the width of the square around the origin that holds a mark, in export pixels.
double reachOf(PointerMark::Shape shape)
{
    switch (shape) {
    case PointerMark::Shape::Arrow:
        return 27;
    case PointerMark::Shape::Highlight:
        return 18;
    case PointerMark::Shape::Halo:
        return 42;
    }
    return 0;
}

/// The font of the export. If it is not installed, preview and export both use the system's sans-serif.
QFont exportFont()
{
    QFont font(
        QFontDatabase::hasFamily(QStringLiteral("Helvetica")) ? QStringLiteral("Helvetica") : QStringLiteral("sans-serif"));
    font.setStyleHint(QFont::SansSerif);
    font.setBold(true);
    font.setPixelSize(fontPixels);
    font.setHintingPreference(QFont::PreferNoHinting);
    return font;
}

} // namespace

PointerMark::PointerMark(QQuickItem* parent)
    : QQuickPaintedItem(parent)
{
    setAntialiasing(true);
    connect(this, &PointerMark::changed, this, &PointerMark::resize);
    resize();
}

void PointerMark::resize()
{
    const double side = std::ceil(2 * reachOf(m_shape) * m_pixel);
    setSize({side, side});
    update();
}

QPointF PointerMark::origin() const
{
    return {width() / 2, height() / 2};
}

void PointerMark::paint(QPainter* painter)
{
    painter->setRenderHint(QPainter::Antialiasing);
    painter->translate(origin());
    painter->scale(m_pixel, m_pixel);
    switch (m_shape) {
    case Shape::Highlight:
        painter->setOpacity(highlightOpacity);
        painter->fillPath(lens(16, 22), gold);
        break;
    case Shape::Arrow:
        // A visible edge of one pixel: the fill covers the inner half of the stroke.
        painter->strokePath(arrow(), QPen(QColor(0x18, 0x18, 0x18), 2, Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin));
        painter->fillPath(arrow(), Qt::white);
        break;
    case Shape::Halo: {
        const double progress = std::clamp(m_progress, 0.0, 1.0);
        const double growth = 1 + haloGrowth * progress;
        painter->setOpacity(1 - progress);
        painter->scale(growth, growth);
        // The ring surrounds the shape; its width does not grow.
        const QPen pen(gold, 2 / growth);
        painter->setPen(pen);
        painter->drawPath(lens(20 + 1 / growth, 27 + 1 / growth));
        break;
    }
    }
}

OverlayText::OverlayText(QQuickItem* parent)
    : QQuickPaintedItem(parent)
    , m_font(exportFont())
{
    connect(this, &OverlayText::changed, this, &OverlayText::layOut);
}

void OverlayText::layOut()
{
    const QFontMetricsF metrics(m_font);
    const double fontHeight = metrics.ascent() + metrics.descent();
    m_fontScale = m_textSize / fontHeight;
    m_lines.clear();
    double widest = 0;
    double top = 0;
    QString text = m_text;
    // Normalizes the text as an export does.
    text.replace(QStringLiteral("\r\n"), QStringLiteral("\n"));
    text.replace(u'\r', u'\n').replace(u'\t', u' ').remove(QChar(u'\0'));
    for (const auto& paragraph : text.split(u'\n')) {
        QTextLayout layout(paragraph, m_font);
        QTextOption option;
        option.setWrapMode(QTextOption::WordWrap);
        layout.setTextOption(option);
        layout.beginLayout();
        for (QTextLine line = layout.createLine(); line.isValid(); line = layout.createLine()) {
            line.setLineWidth(m_lineWidth / m_fontScale);
            m_lines.push_back({paragraph.mid(line.textStart(), line.textLength()), top + metrics.ascent() * m_fontScale});
            widest = std::max(widest, line.naturalTextWidth() * m_fontScale);
            top += m_textSize;
        }
        layout.endLayout();
        if (paragraph.isEmpty())
            top += m_textSize / 2.0; // An export draws empty lines at half height.
    }
    setImplicitSize((widest + 2 * textEdge) * m_pixel, (top + 2 * textEdge) * m_pixel);
    update();
}

void OverlayText::paint(QPainter* painter)
{
    painter->setRenderHint(QPainter::Antialiasing);
    painter->scale(m_pixel * m_fontScale, m_pixel * m_fontScale);
    QPainterPath path;
    for (const auto& line : m_lines)
        path.addText(QPointF(0, line.baseline / m_fontScale), m_font, line.text);
    painter->strokePath(
        path, QPen(QColor(0x20, 0x20, 0x20), 2 * textEdge / m_fontScale, Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin));
    painter->fillPath(path, Qt::white);
}

} // namespace orvo
