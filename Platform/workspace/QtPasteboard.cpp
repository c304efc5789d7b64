#include "Platform/workspace/Pasteboard.h"

#include <QClipboard>
#include <QGuiApplication>
#include <QObject>
#include <QTimer>
#include <chrono>
#include <utility>

namespace orvo {

namespace {

constexpr auto maxWait = std::chrono::seconds(3); ///< For the compositor's announcement.

class QtPasteboard final : public Pasteboard {
public:
    QtPasteboard()
    {
        m_limit.setSingleShot(true);
        QObject::connect(&m_limit, &QTimer::timeout, &m_limit, [this] { answer(false); });
    }

    void setText(const std::string& text, Done done) override
    {
        QObject::disconnect(m_announcement);
        m_limit.stop();
        m_done = std::move(done);
        auto* const clipboard = QGuiApplication::clipboard();
        const QString content = QString::fromStdString(text);
        clipboard->setText(content);
        if (!QGuiApplication::platformName().startsWith(QLatin1String("wayland")))
            return answer(clipboard->ownsClipboard() || clipboard->text() == content);
        // Qt always reports success, and the compositor does not answer either. But it announces an accepted selection to
        // the program with the keyboard, even if that program set it.
        if (!QGuiApplication::focusWindow())
            return answer(false);
        m_announcement = QObject::connect(
            clipboard, &QClipboard::dataChanged, &m_limit, [this, clipboard] { answer(clipboard->ownsClipboard()); });
        m_limit.start(maxWait);
    }

private:
    void answer(bool isSet)
    {
        QObject::disconnect(m_announcement);
        m_limit.stop();
        if (const auto done = std::exchange(m_done, nullptr))
            done(isSet);
    }

    Done m_done;
    QMetaObject::Connection m_announcement;
    QTimer m_limit;
};

} // namespace

std::unique_ptr<Pasteboard> Pasteboard::create()
{
    return std::make_unique<QtPasteboard>();
}

} // namespace orvo
