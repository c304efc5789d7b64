#include "PreviewItem.h"

#include <QQuickWindow>
#include <QSGImageNode>
#include <algorithm>
#include <cmath>
#include <utility>

namespace orvo {

PreviewItem::PreviewItem(QQuickItem* parent)
    : QQuickItem(parent)
{
    setFlag(ItemHasContents);
}

void PreviewItem::setPlayer(PreviewPlayer* player)
{
    if (player == m_player)
        return;
    if (m_player)
        m_player->disconnect(this);
    m_player = player;
    if (m_player) {
        connect(m_player, &PreviewPlayer::frameChanged, this, &PreviewItem::takeFrame);
        updateDisplaySize();
    }
    takeFrame();
    emit playerChanged();
}

void PreviewItem::setMagnification(double magnification)
{
    magnification = std::isfinite(magnification) ? std::max(magnification, 1.0) : 1.0;
    if (magnification == m_magnification)
        return;
    m_magnification = magnification;
    updateDisplaySize();
    emit magnificationChanged();
}

void PreviewItem::takeFrame()
{
    m_frame = m_player ? m_player->frame() : QImage();
    m_hasNewFrame = true;
    placeFrame();
    update();
}

void PreviewItem::placeFrame()
{
    const QSizeF fitted = m_frame.isNull() ? QSizeF() : QSizeF(m_frame.size()).scaled(size(), Qt::KeepAspectRatio);
    // Whole pixels, so that a frame of the exact size is not blurred.
    const QRectF place(std::floor((width() - fitted.width()) / 2), std::floor((height() - fitted.height()) / 2),
        std::round(fitted.width()), std::round(fitted.height()));
    if (std::exchange(m_frameRect, place) != place)
        emit frameRectChanged();
}

/// A magnified item requests the full size at once, not a new size for every step of the animation.
void PreviewItem::updateDisplaySize()
{
    if (!m_player || !window() || size().isEmpty())
        return;
    const double scale = window()->effectiveDevicePixelRatio();
    m_player->setDisplaySize(m_magnification > 1 ? QSize() : QSize(qCeil(width() * scale), qCeil(height() * scale)));
}

void PreviewItem::geometryChange(const QRectF& now, const QRectF& before)
{
    QQuickItem::geometryChange(now, before);
    if (now.size() != before.size()) {
        placeFrame();
        updateDisplaySize();
        update();
    }
}

void PreviewItem::itemChange(ItemChange change, const ItemChangeData& value)
{
    QQuickItem::itemChange(change, value);
    if (change == ItemSceneChange || change == ItemDevicePixelRatioHasChanged)
        updateDisplaySize();
}

QSGNode* PreviewItem::updatePaintNode(QSGNode* node, UpdatePaintNodeData*)
{
    auto* imageNode = static_cast<QSGImageNode*>(node);
    if (m_frame.isNull()) {
        delete imageNode;
        return nullptr;
    }
    const bool isNew = imageNode == nullptr;
    if (isNew) {
        imageNode = window()->createImageNode();
        imageNode->setOwnsTexture(true);
        imageNode->setFiltering(QSGTexture::Linear);
    }
    if (std::exchange(m_hasNewFrame, false) || isNew) {
        QSGTexture* texture = window()->createTextureFromImage(m_frame, QQuickWindow::TextureIsOpaque);
        imageNode->setTexture(texture);
        imageNode->setSourceRect(QRectF(QPointF(), QSizeF(m_frame.size())));
    }
    imageNode->setRect(m_frameRect);
    return imageNode;
}

} // namespace orvo
