#pragma once

#include <QObject>
#include <QPointer>
#include <QSize>
#include <QTimer>
#include <QWindow>

namespace orvo {

/// Keeps a window inside its screen, and its size and maximised state between runs (settings "window/width",
/// "window/height", "window/maximized"). Main thread only. The window may go first.
class WindowPlacement final : public QObject {
    Q_OBJECT
public:
    /// What the window needs to show everything, in device-independent pixels. A smaller screen gets a smaller window.
    static constexpr QSize minimumSize{960, 600};
    /// At the first start, where the screen has the room.
    static constexpr QSize usualSize{1280, 800};

    explicit WindowPlacement(QWindow& window, QObject* parent = nullptr);
    /// Writes what is to be remembered.
    ~WindowPlacement() override;

    /// Shows the window for the first time: in its remembered size as far as the screen has room, maximised if it was.
    void show();

    /// Shows the window again, maximised if it was, and gives it the keyboard.
    void bringBack();

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    void note();
    void keepInside();

    QPointer<QWindow> m_window;
    QSize m_size = usualSize; ///< While neither maximised nor minimised.
    bool m_maximized = false;
    QTimer m_settling; ///< A window system tells a new size before the state that it belongs to.
};

} // namespace orvo
