#pragma once

#include <QImage>
#include <QRasterWindow>
#include <QRect>
#include <QSize>
#include <QString>

namespace orvo {

/// A small window above all others that takes no keyboard or pointer input.
class FloatingWindow : public QRasterWindow {
    Q_OBJECT
public:
    explicit FloatingWindow(const QRect& place);
};

/// The countdown, large, over the source.
class CountdownWindow final : public FloatingWindow {
    Q_OBJECT
public:
    /// Shows the digit only, or above it the shared source when the user cannot see it otherwise.
    CountdownWindow(QScreen& screen, QPoint centre, const QImage& shared = {}, const QString& label = {});

    void setCount(int count);

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    QImage m_shared;
    QString m_label;
    int m_count = 0;
};

} // namespace orvo
