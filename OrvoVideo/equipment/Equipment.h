#pragma once

#include <cstdint>
#include <stop_token>
#include <string>
#include <string_view>
#include <vector>

namespace orvo {

/// A program, device or service that the application needs, and its state on this machine.
struct EquipmentItem {
    enum class Kind : std::uint8_t { ffmpeg, speechModel, microphone, screen, shortcuts, tray, keyring, browser };
    enum class State : std::uint8_t {
        good,
        limited, ///< The application works with reduced features.
        missing, ///< Features that need it do not work.
    };

    Kind kind = Kind::ffmpeg;
    State state = State::good;
    std::string text; ///< The finding, in Spanish.
    std::string advice; ///< The advice, in Spanish; empty if none is needed.
    std::string command; ///< A shell command that solves it; empty if no single command does.

    /// The item's name for programs ("speechModel") and for users ("Modelo de voz").
    static std::string_view name(Kind kind);
    static std::string_view title(Kind kind);
    /// "good", "limited" or "missing".
    static std::string_view name(State state);
};

/// Checks all equipment, in the order of `Kind`. `speechModel` is the name of the chosen model; empty for the default.
///
/// Blocks for a few seconds at most: queries the audio server and the session bus. Throws `Cancelled`.
std::vector<EquipmentItem> checkEquipment(std::string_view speechModel, const std::stop_token& stop = {});

} // namespace orvo
