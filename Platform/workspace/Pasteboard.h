#pragma once

#include <functional>
#include <memory>
#include <string>

namespace orvo {

/// The desktop's clipboard. Main thread only.
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

    /// Puts a plain text on the clipboard. A Wayland compositor may refuse it, above all while another program has the
    /// keyboard focus. Calls `done` with the outcome on the main thread, at once or within a few seconds. If calls overlap,
    /// only the last one gets an answer.
    virtual void setText(const std::string& text, Done done) = 0;
};

} // namespace orvo
