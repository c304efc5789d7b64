#include "Platform/Pasteboard.h"

#include <QClipboard>
#include <QGuiApplication>

namespace orvo {

namespace {

class QtPasteboard final : public Pasteboard {
public:
    bool setText(const std::string& text) override
    {
        const bool needsFocus = QGuiApplication::platformName().startsWith(QLatin1String("wayland"));
        if (needsFocus && !QGuiApplication::focusWindow())
            return false;
        QGuiApplication::clipboard()->setText(QString::fromStdString(text));
        return QGuiApplication::clipboard()->ownsClipboard();
    }
};

} // namespace

std::unique_ptr<Pasteboard> Pasteboard::create()
{
    return std::make_unique<QtPasteboard>();
}

} // namespace orvo
