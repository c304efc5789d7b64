#pragma once

#include <QObject>
#include <QPointer>
#include <QSize>
#include <QTimer>
#include <QWindow>

namespace orvo {

/// Keeps a window inside its screen, and stores its size and maximised state between runs (settings "window.width",
/// "window.height", "window.maximized"). Main thread only. The window may be destroyed first.
class WindowPlacement final : public QObject {
    Q_OBJECT
public:
    /// The minimum size that shows everything, in device-independent pixels. Smaller on a smaller screen.
    static constexpr QSize minimumSize{960, 600};
    /// The size at the first start, if the screen is large enough.
    static constexpr QSize usualSize{1280, 800};

    explicit WindowPlacement(QWindow& window, QObject* parent = nullptr);
    /// Stores pending changes.
    ~WindowPlacement() override;

    /// Shows the window for the first time in its stored size, limited to the screen, and maximised if it was.
    void show();

    /// Shows the window again, maximised if it was, and activates it.
    void bringBack();

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    void note();
    void keepInside();

    QPointer<QWindow> m_window;
    QSize m_size = usualSize; ///< While neither maximised nor minimised.
    bool m_maximized = false;
    QTimer m_settling; ///< Window systems report a new size before the state that caused it.
};

} // namespace orvo
