#pragma once

#include <cstdint>
#include <stop_token>
#include <string>
#include <string_view>
#include <vector>

namespace orvo {

/// One thing that the application works with, as it is on this machine.
struct EquipmentItem {
    enum class Kind : std::uint8_t { ffmpeg, speechModel, microphone, screen, shortcuts, tray, keyring, browser };
    enum class State : std::uint8_t {
        good,
        limited, ///< The application works, without something.
        missing, ///< What needs it does not work.
    };

    Kind kind = Kind::ffmpeg;
    State state = State::good;
    std::string text; ///< What was found, in Spanish.
    std::string advice; ///< What to do about it, in Spanish; empty when nothing needs to be done.
    std::string command; ///< For a terminal, where one command helps.

    /// The item's name for programs ("speechModel") and for people ("Modelo de voz").
    static std::string_view name(Kind kind);
    static std::string_view title(Kind kind);
    /// "good", "limited" or "missing".
    static std::string_view name(State state);
};

/// Looks at everything, in the order of `Kind`. `speechModel` is the name of the chosen model; empty for the usual one.
///
/// Blocks for some seconds at most: it asks the sound server and the session's bus. Throws `Cancelled`.
std::vector<EquipmentItem> checkEquipment(std::string_view speechModel, const std::stop_token& stop = {});

} // namespace orvo
