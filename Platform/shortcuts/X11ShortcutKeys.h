#pragma once

#include "Platform/shortcuts/ShortcutKeys.h"

#include <memory>

namespace orvo {

/// Grabs the combinations on the root window of an X11 display, with every state of the lock keys.
class X11ShortcutKeys final : public ShortcutKeys {
public:
    /// Returns null when the display of the environment cannot be opened.
    static std::unique_ptr<X11ShortcutKeys> open();

    ~X11ShortcutKeys() override;

    void listen(const std::vector<Combination>& combinations) override;
    Support support() const override { return Support::ours; }
    bool hears(std::uint32_t id) const override;

private:
    class Grabs;

    explicit X11ShortcutKeys(std::unique_ptr<Grabs> grabs);
    void takeEvents();

    std::unique_ptr<Grabs> m_grabs;
};

} // namespace orvo
