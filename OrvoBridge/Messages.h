#pragma once

#include "VideoCore/VideoProject.h"

#include <cstdint>
#include <stdexcept>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

/// The messages between the browser extension and the helper. docs/extension.md lists them.
namespace orvo::bridge {

inline constexpr std::int64_t protocolVersion = 1;

/// Checks that the helper exists and has the same protocol version.
struct Hello {
    std::int64_t version = 0;
};

/// Starts a recording.
struct Start {
    std::string title; ///< At most `maxTitleBytes` bytes; may be empty.
    std::int64_t width = 0; ///< Pixels, 2 to 16,384, even.
    std::int64_t height = 0;
    std::int64_t fps = 0; ///< 1 to 240.
    std::vector<TrackKind> tracks; ///< The screen and optionally microphone and camera; no duplicates.
};

/// The next chunk of a track's file.
struct Chunk {
    TrackKind track = TrackKind::screen;
    std::int64_t sequence = 0; ///< Starts at 0 for each track.
    std::string data; ///< Decoded bytes.
};

/// Offsets of tracks relative to the screen; negative for earlier ones.
struct Starts {
    struct Entry {
        TrackKind track = TrackKind::microphone;
        double seconds = 0; ///< At least −60.
    };
    std::vector<Entry> entries;
};

/// Pointer events since the last such message, in time order.
struct Pointer {
    std::vector<PointerEvent> events;
};

/// The current length of the recording.
struct Progress {
    double seconds = 0;
};

/// Ends the recording; all chunks were sent before.
struct Stop {
    double seconds = 0;
};

/// Opens a finished recording in the application.
struct Open {
    Uuid project;
};

using Message = std::variant<Hello, Start, Chunk, Starts, Pointer, Progress, Stop, Open>;

inline constexpr std::size_t maxTitleBytes = 300;

/// Thrown for a message that the extension cannot have sent.
class ProtocolError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

/// Parses and validates a message. Throws `ProtocolError`.
Message parseMessage(std::string_view text);

/// The cause of a failure, for which the extension has its own texts.
enum class Failure : std::uint8_t { busy, disk, library, protocol };

namespace answer {

std::string hello();
std::string started(const Uuid& project);
std::string written(TrackKind track, std::int64_t sequence);
std::string finished(const Uuid& project);
std::string opened(const Uuid& project);
std::string failed(Failure failure, std::string_view detail);

} // namespace answer

} // namespace orvo::bridge
