#include "Platform/workspace/Pasteboard.h"

#include <QClipboard>
#include <QGuiApplication>
#include <QObject>
#include <QTimer>
#include <chrono>
#include <utility>

namespace orvo {

namespace {

constexpr auto longestWait = std::chrono::seconds(3); ///< For the compositor's announcement.

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
        // Qt takes its own request for granted. A compositor does not answer it either, but announces the selection that it
        // accepts to the program that has the keyboard: also to the one that has made it.
        if (!QGuiApplication::focusWindow())
            return answer(false);
        m_announcement = QObject::connect(
            clipboard, &QClipboard::dataChanged, &m_limit, [this, clipboard] { answer(clipboard->ownsClipboard()); });
        m_limit.start(longestWait);
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
