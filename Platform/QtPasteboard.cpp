#include "Platform/Pasteboard.h"

#include <QClipboard>
#include <QGuiApplication>

namespace orvo {

namespace {

class QtPasteboard final : public Pasteboard {
public:
    void setText(const std::string& text) override { QGuiApplication::clipboard()->setText(QString::fromStdString(text)); }
};

} // namespace

std::unique_ptr<Pasteboard> Pasteboard::create()
{
    return std::make_unique<QtPasteboard>();
}

} // namespace orvo
