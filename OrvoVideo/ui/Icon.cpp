#include "OrvoVideo/ui/Icon.h"

#include <QFile>
#include <QImage>
#include <QLoggingCategory>
#include <QPainter>
#include <QQuickWindow>
#include <QSGImageNode>
#include <QSvgRenderer>
#include <algorithm>
#include <cmath>

namespace orvo {

namespace {

Q_LOGGING_CATEGORY(log, "orvo.ui")

} // namespace

Icon::Icon(QQuickItem* parent)
    : QQuickItem(parent)
{
    setFlag(ItemHasContents);
    setImplicitSize(16, 16);
}

void Icon::setName(const QString& name)
{
    if (m_name == name)
        return;
    m_name = name;
    redraw();
    emit nameChanged();
}

void Icon::setColor(const QColor& color)
{
    if (m_color == color)
        return;
    m_color = color;
    redraw();
    emit colorChanged();
}

QImage Icon::image(const QString& name, const QColor& color, int pixels)
{
    QFile file(QStringLiteral(":/qt/qml/Orvo/Ui/icons/%1.svg").arg(name));
    if (!file.open(QIODevice::ReadOnly)) {
        qCWarning(log) << "no icon named" << name;
        return {};
    }
    QSvgRenderer renderer(file.readAll().replace("currentColor", color.name().toLatin1()));
    QImage drawn(pixels, pixels, QImage::Format_ARGB32_Premultiplied);
    drawn.fill(Qt::transparent);
    QPainter painter(&drawn);
    painter.setOpacity(color.alphaF());
    renderer.render(&painter);
    painter.end(); // Must end before the image is returned.
    return drawn;
}

void Icon::itemChange(ItemChange change, const ItemChangeData& data)
{
    if (change == ItemDevicePixelRatioHasChanged || change == ItemSceneChange)
        redraw();
    QQuickItem::itemChange(change, data);
}

void Icon::geometryChange(const QRectF& now, const QRectF& before)
{
    if (now.size() != before.size())
        redraw();
    QQuickItem::geometryChange(now, before);
}

void Icon::redraw()
{
    m_stale = true;
    update();
}

QSGNode* Icon::updatePaintNode(QSGNode* node, UpdatePaintNodeData*)
{
    auto* imageNode = static_cast<QSGImageNode*>(node);
    const double side = std::min(width(), height());
    if (m_name.isEmpty() || side <= 0) {
        delete imageNode;
        m_stale = true;
        return nullptr;
    }
    if (!imageNode || m_stale) {
        const int pixels = static_cast<int>(std::ceil(side * window()->effectiveDevicePixelRatio()));
        const QImage drawn = image(m_name, m_color, pixels);
        if (drawn.isNull()) {
            delete imageNode;
            return nullptr;
        }
        if (!imageNode)
            imageNode = window()->createImageNode();
        imageNode->setOwnsTexture(true);
        imageNode->setTexture(window()->createTextureFromImage(drawn, QQuickWindow::TextureCanUseAtlas));
        imageNode->setFiltering(QSGTexture::Linear);
        m_stale = false;
    }
    imageNode->setRect((width() - side) / 2, (height() - side) / 2, side, side);
    return imageNode;
}

} // namespace orvo
