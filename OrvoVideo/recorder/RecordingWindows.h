#pragma once

#include <QImage>
#include <QRasterWindow>
#include <QRect>
#include <QSize>
#include <QString>

namespace orvo {

/// A small window over everything that takes neither keyboard nor pointer.
class FloatingWindow : public QRasterWindow {
    Q_OBJECT
public:
    explicit FloatingWindow(const QRect& place);
};

/// The seconds until a recording begins, large, on what will be recorded.
class CountdownWindow final : public FloatingWindow {
    Q_OBJECT
public:
    /// Shows the digit alone, or above what the desktop shares, where that could not be seen before.
    CountdownWindow(QScreen& screen, QPoint centre, const QImage& shared = {}, const QString& label = {});

    void setCount(int count);

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    QImage m_shared;
    QString m_label;
    int m_count = 0;
};

/// That something is being recorded, and for how long.
class RecordingMark final : public FloatingWindow {
    Q_OBJECT
public:
    static constexpr QSize usualSize{108, 36};

    explicit RecordingMark(const QRect& place);

    void setTime(double seconds);
    void setPaused(bool paused);

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    int m_seconds = 0;
    bool m_paused = false;
};

} // namespace orvo
