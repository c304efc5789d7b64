#pragma once

#include <QColor>
#include <QQuickItem>
#include <QString>
#include <QtQml/qqmlregistration.h>

namespace orvo {

/// An outline icon of ui/icons in one colour; square, sharp at any pixel density. For an unknown name, logs a warning and
/// stays empty.
class Icon : public QQuickItem {
    Q_OBJECT
    QML_NAMED_ELEMENT(IconImage)
    Q_PROPERTY(QString name READ name WRITE setName NOTIFY nameChanged)
    Q_PROPERTY(QColor color READ color WRITE setColor NOTIFY colorChanged)
public:
    explicit Icon(QQuickItem* parent = nullptr);

    QString name() const { return m_name; }
    void setName(const QString& name);
    QColor color() const { return m_color; }
    void setColor(const QColor& color);

    /// The icon as a square image, `pixels` wide and high; null for an unknown name.
    static QImage image(const QString& name, const QColor& color, int pixels);

signals:
    void nameChanged();
    void colorChanged();

protected:
    QSGNode* updatePaintNode(QSGNode* node, UpdatePaintNodeData* data) override;
    void itemChange(ItemChange change, const ItemChangeData& data) override;
    void geometryChange(const QRectF& now, const QRectF& before) override;

private:
    void redraw();

    QString m_name;
    QColor m_color = Qt::black;
    bool m_stale = true;
};

} // namespace orvo
