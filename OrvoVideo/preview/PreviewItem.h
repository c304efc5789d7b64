#pragma once

#include "OrvoVideo/playback/PreviewPlayer.h"

#include <QPointer>
#include <QQuickItem>

namespace orvo {

/// Shows the picture of a preview player, whole and centred, in whatever way the window is drawn (a graphics card, or the
/// processor alone). Draws anew only when there is a new picture.
class PreviewItem : public QQuickItem {
    Q_OBJECT
    QML_ELEMENT
    /// The player whose picture is shown.
    Q_PROPERTY(orvo::PreviewPlayer* player READ player WRITE setPlayer NOTIFY playerChanged)
    /// How much larger than this item its picture appears, where the item is scaled: the player then gives pictures fine
    /// enough for it.
    Q_PROPERTY(double magnification READ magnification WRITE setMagnification NOTIFY magnificationChanged)
    /// Where the picture lies in the item: what is drawn over it keeps to this.
    Q_PROPERTY(QRectF pictureRect READ pictureRect NOTIFY pictureRectChanged)

public:
    explicit PreviewItem(QQuickItem* parent = nullptr);

    PreviewPlayer* player() const { return m_player; }
    void setPlayer(PreviewPlayer* player);
    double magnification() const { return m_magnification; }
    void setMagnification(double magnification);
    QRectF pictureRect() const { return m_pictureRect; }

signals:
    void playerChanged();
    void magnificationChanged();
    void pictureRectChanged();

protected:
    QSGNode* updatePaintNode(QSGNode* node, UpdatePaintNodeData* data) override;
    void geometryChange(const QRectF& now, const QRectF& before) override;
    void itemChange(ItemChange change, const ItemChangeData& value) override;

private:
    void takePicture();
    void placePicture();
    void tellDisplaySize();

    QPointer<PreviewPlayer> m_player;
    double m_magnification = 1;
    QImage m_picture;
    bool m_hasNewPicture = false;
    QRectF m_pictureRect;
};

} // namespace orvo
