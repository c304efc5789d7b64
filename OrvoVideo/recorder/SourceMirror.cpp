#include "OrvoVideo/recorder/SourceMirror.h"

#include "VideoCore/Error.h"

#include <QPainter>
#include <QQuickWindow>
#include <cmath>

namespace orvo {

namespace {

constexpr int interval = 1000; ///< Milliseconds between two updates.

} // namespace

SourceMirror::SourceMirror(QQuickItem* parent)
    : QQuickPaintedItem(parent)
{
    m_clock.setInterval(interval);
    connect(&m_clock, &QTimer::timeout, this, &SourceMirror::look);
}

SourceMirror::~SourceMirror()
{
    m_workers.shutDown();
}

void SourceMirror::setChoice(CaptureChoice* choice)
{
    if (m_choice == choice)
        return;
    m_choice = choice;
    emit choiceChanged();
    look();
}

void SourceMirror::setSourceId(const QString& id)
{
    if (m_sourceId == id)
        return;
    m_sourceId = id;
    emit sourceIdChanged();
    show({});
    look();
}

void SourceMirror::itemChange(ItemChange change, const ItemChangeData& value)
{
    if (change == ItemVisibleHasChanged || change == ItemSceneChange) {
        if (window() && isVisible())
            m_clock.start();
        else
            m_clock.stop();
    }
    QQuickPaintedItem::itemChange(change, value);
}

void SourceMirror::look()
{
    if (m_taking || !m_choice || width() < 1 || height() < 1)
        return;
    const auto* source = m_choice->sources()->find(m_sourceId.toStdString());
    if (!source)
        return;
    // A shared source was captured once, when it was chosen.
    if (source->stream)
        show(m_choice->frame());
    else
        take(*source);
}

QCoro::Task<> SourceMirror::take(CaptureSource source)
{
    m_taking = true;
    const double ratio = window() ? window()->effectiveDevicePixelRatio() : 1;
    const FrameSize maxSize{static_cast<int>(std::ceil(width() * ratio)), static_cast<int>(std::ceil(height() * ratio))};
    QImage frame;
    try {
        if (const auto taken = co_await m_workers.run([source, maxSize] { return CaptureSources::frame(source, maxSize); }))
            frame = CaptureChoice::imageOf(*taken);
    } catch (const Cancelled&) {
        co_return; // This object is being destroyed.
    } catch (const std::exception&) {
        // A missing source has no image.
    }
    m_taking = false;
    if (source.id == m_sourceId.toStdString())
        show(frame);
    else
        look(); // Another source was chosen meanwhile.
}

void SourceMirror::show(const QImage& frame)
{
    const bool was = showing();
    m_frame = frame;
    update();
    if (was != showing())
        emit showingChanged();
}

void SourceMirror::paint(QPainter* painter)
{
    if (m_frame.isNull())
        return;
    const QSizeF size = QSizeF(m_frame.size()).scaled(width(), height(), Qt::KeepAspectRatio);
    painter->setRenderHint(QPainter::SmoothPixmapTransform);
    painter->drawImage(QRectF(QPointF((width() - size.width()) / 2, (height() - size.height()) / 2), size), m_frame);
}

} // namespace orvo
