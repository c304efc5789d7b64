#include "OrvoVideo/recorder/RecordingWindows.h"

#include <QPainter>
#include <QScreen>

namespace orvo {

namespace {

constexpr QColor panel(0x1D, 0x1A, 0x24);
constexpr QColor text(0xF3, 0xF0, 0xFA);
constexpr int countdownSide = 200;
constexpr QSize sharedRoom(320, 180); ///< Maximum size of the shared source's image.
constexpr int sharedMargin = 16;
constexpr int captionHeight = 24;

QSize countdownSize(bool hasFrame)
{
    if (!hasFrame)
        return {countdownSide, countdownSide};
    return {sharedRoom.width() + 2 * sharedMargin, countdownSide + captionHeight + sharedRoom.height() + 2 * sharedMargin};
}

QRect centred(QSize size, QPoint centre)
{
    return {centre.x() - size.width() / 2, centre.y() - size.height() / 2, size.width(), size.height()};
}

QFont digits(int pixels, QFont::Weight weight)
{
    QFont font;
    font.setPixelSize(pixels);
    font.setWeight(weight);
    font.setFeature("tnum", 1);
    return font;
}

/// Draws a panel over the whole window, with round corners if the window system supports transparency.
void drawPanel(QPainter& painter, QSize size, double radius)
{
    painter.setCompositionMode(QPainter::CompositionMode_Source);
    painter.fillRect(QRect({}, size), Qt::transparent);
    painter.setCompositionMode(QPainter::CompositionMode_SourceOver);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(Qt::NoPen);
    painter.setBrush(panel);
    painter.drawRoundedRect(QRect({}, size), radius, radius);
}

} // namespace

FloatingWindow::FloatingWindow(const QRect& place)
{
    QSurfaceFormat translucent = format();
    translucent.setAlphaBufferSize(8);
    setFormat(translucent);
    setFlags(Qt::ToolTip | Qt::FramelessWindowHint | Qt::WindowStaysOnTopHint | Qt::WindowDoesNotAcceptFocus
        | Qt::WindowTransparentForInput);
    setGeometry(place);
}

CountdownWindow::CountdownWindow(QScreen& screen, QPoint centre, const QImage& shared, const QString& label)
    : FloatingWindow(centred(countdownSize(!shared.isNull()), centre))
    , m_shared(shared)
    , m_label(label)
{
    setScreen(&screen);
    setTitle(QStringLiteral("Cuenta atrás"));
}

void CountdownWindow::setCount(int count)
{
    m_count = count;
    if (!isVisible())
        show();
    update();
}

void CountdownWindow::paintEvent(QPaintEvent*)
{
    QPainter painter(this);
    drawPanel(painter, size(), 32);
    painter.setPen(text);
    painter.setFont(digits(120, QFont::Bold));
    const QRect digit(0, 0, width(), countdownSide);
    painter.drawText(digit, Qt::AlignCenter, QString::number(m_count));
    if (m_shared.isNull())
        return;
    const QRect caption(sharedMargin, digit.bottom(), sharedRoom.width(), captionHeight);
    painter.setFont(digits(15, QFont::DemiBold));
    painter.drawText(caption, Qt::AlignCenter,
        painter.fontMetrics().elidedText(QStringLiteral("Se graba: %1").arg(m_label), Qt::ElideRight, caption.width()));
    QRect frame({}, m_shared.size().scaled(sharedRoom, Qt::KeepAspectRatio));
    frame.moveCenter(QRect({sharedMargin, caption.bottom() + sharedMargin}, sharedRoom).center());
    painter.setRenderHint(QPainter::SmoothPixmapTransform);
    painter.drawImage(frame, m_shared);
}

} // namespace orvo
