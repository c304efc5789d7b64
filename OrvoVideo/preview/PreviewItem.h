#pragma once

#include "OrvoVideo/playback/PreviewPlayer.h"

#include <QPointer>
#include <QQuickItem>

namespace orvo {

/// Shows the frame of a preview player, fitted and centred. Works with any renderer (graphics card or software). Redraws
/// only for a new frame.
class PreviewItem : public QQuickItem {
    Q_OBJECT
    QML_ELEMENT
    /// The player to show.
    Q_PROPERTY(orvo::PreviewPlayer* player READ player WRITE setPlayer NOTIFY playerChanged)
    /// Scale at which the item is displayed. The player then delivers frames of sufficient resolution.
    Q_PROPERTY(double magnification READ magnification WRITE setMagnification NOTIFY magnificationChanged)
    /// Rectangle of the frame in the item, for overlays.
    Q_PROPERTY(QRectF frameRect READ frameRect NOTIFY frameRectChanged)

public:
    explicit PreviewItem(QQuickItem* parent = nullptr);

    PreviewPlayer* player() const { return m_player; }
    void setPlayer(PreviewPlayer* player);
    double magnification() const { return m_magnification; }
    void setMagnification(double magnification);
    QRectF frameRect() const { return m_frameRect; }

signals:
    void playerChanged();
    void magnificationChanged();
    void frameRectChanged();

protected:
    QSGNode* updatePaintNode(QSGNode* node, UpdatePaintNodeData* data) override;
    void geometryChange(const QRectF& now, const QRectF& before) override;
    void itemChange(ItemChange change, const ItemChangeData& value) override;

private:
    void takeFrame();
    void placeFrame();
    void updateDisplaySize();

    QPointer<PreviewPlayer> m_player;
    double m_magnification = 1;
    QImage m_frame;
    bool m_hasNewFrame = false;
    QRectF m_frameRect;
};

} // namespace orvo
