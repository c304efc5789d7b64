#pragma once

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

    /// Puts a plain text in place of what is there. Returns false where the desktop refuses it: Wayland takes a selection
    /// only from the window that has the keyboard.
    virtual bool setText(const std::string& text) = 0;
};

} // namespace orvo
