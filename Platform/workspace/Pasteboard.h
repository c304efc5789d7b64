#pragma once

#include <functional>
#include <memory>
#include <string>

namespace orvo {

/// The clipboard of the desktop. An object of the main thread.
class Pasteboard {
public:
    /// Needs a `QGuiApplication`.
    static std::unique_ptr<Pasteboard> create();

    Pasteboard() = default;
    Pasteboard(const Pasteboard&) = delete;
    Pasteboard& operator=(const Pasteboard&) = delete;
    virtual ~Pasteboard() = default;

    /// Receives whether the text is on the clipboard.
    using Done = std::function<void(bool isSet)>;

    /// Puts a plain text in place of what is there. A Wayland desktop may refuse it, above all while another program has the
    /// keyboard: `done` is called on the main thread, at once or within some seconds, with what became of it. If calls
    /// overlap, only the last one is answered.
    virtual void setText(const std::string& text, Done done) = 0;
};

} // namespace orvo
