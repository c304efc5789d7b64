#pragma once

#include "VideoCore/VideoProject.h"

#include <cstdint>
#include <stdexcept>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

/// What the browser's extension says to the helper, and what it is answered. docs/extension.md lists all of it.
namespace orvo::bridge {

inline constexpr std::int64_t protocolVersion = 1;

/// Asks whether the helper is there and speaks the same.
struct Hello {
    std::int64_t version = 0;
};

/// A recording begins.
struct Start {
    std::string title; ///< At most `longestTitle` bytes; may be empty.
    std::int64_t width = 0; ///< Pixels, 2 to 16,384, even.
    std::int64_t height = 0;
    std::int64_t fps = 0; ///< 1 to 240.
    std::vector<TrackKind> tracks; ///< The screen and, each once, microphone and camera.
};

/// The next piece of a track's file.
struct Chunk {
    TrackKind track = TrackKind::screen;
    std::int64_t sequence = 0; ///< Counts from 0 for each track.
    std::string data; ///< The bytes themselves.
};

/// How much later than the screen the tracks begin; negative for earlier.
struct Starts {
    struct Entry {
        TrackKind track = TrackKind::microphone;
        double seconds = 0; ///< From −60.
    };
    std::vector<Entry> entries;
};

/// What the pointer did since the last such message, in time order.
struct Pointer {
    std::vector<PointerEvent> events;
};

/// How long the recording is by now.
struct Progress {
    double seconds = 0;
};

/// The recording is over; every piece of it was sent before.
struct Stop {
    double seconds = 0;
};

using Message = std::variant<Hello, Start, Chunk, Starts, Pointer, Progress, Stop>;

inline constexpr std::size_t longestTitle = 300;

/// Thrown for a message that the extension cannot have sent.
class ProtocolError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

/// Reads a message, trusting nothing in it. Throws `ProtocolError`.
Message parseMessage(std::string_view text);

/// What went wrong, for the extension, which has its own words for each.
enum class Failure : std::uint8_t { busy, disk, library, protocol };

namespace answer {

std::string hello();
std::string started(const Uuid& project);
std::string written(TrackKind track, std::int64_t sequence);
std::string finished(const Uuid& project);
std::string failed(Failure failure, std::string_view detail);

} // namespace answer

} // namespace orvo::bridge
