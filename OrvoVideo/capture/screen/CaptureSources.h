#pragma once

#include "OrvoVideo/capture/screen/CapturedFrame.h"
#include "VideoCore/Geometry.h"
#include "VideoCore/UniqueFd.h"

#include <chrono>
#include <cstdint>
#include <memory>
#include <mutex>
#include <optional>
#include <stop_token>
#include <string>
#include <sys/types.h>
#include <unistd.h>
#include <vector>

namespace orvo {

/// A small RGB image of a source, shown to the user.
struct SourceFrame {
    FrameSize size;
    std::vector<std::uint8_t> pixels;
};

/// A stream that the desktop portal opened for this process. Owns the PipeWire connection, which all readers of the
/// stream share: a second connection over the same descriptor would corrupt the first.
class PipeWireStream {
public:
    struct Connection;

    PipeWireStream(int descriptor, std::uint32_t node) noexcept;
    ~PipeWireStream();
    PipeWireStream(const PipeWireStream&) = delete;
    PipeWireStream& operator=(const PipeWireStream&) = delete;

    std::uint32_t node() const noexcept { return m_node; }

    /// The connection, opened by the first call. Throws `captureError` when that fails.
    Connection& connection() const;

    struct Look {
        FrameSize size; ///< The size of the source, in pixels.
        std::optional<SourceFrame> frame; ///< Null when no frame arrived in time.
    };

    /// Captures the first frame of a stream, fitted into `maxSize` (even numbers). The frames of a window may be larger
    /// than the window; the crop of the frame gives its size. Without a frame within `patience`, the size is that of the
    /// stream's format: some desktops deliver no frame until something is drawn.
    ///
    /// Blocks for up to ten seconds plus `patience`. Throws `captureError` when the stream has ended, and `Cancelled`.
    static Look look(const std::shared_ptr<const PipeWireStream>& stream, FrameSize maxSize,
        std::chrono::milliseconds patience, const std::stop_token& stop = {});

private:
    UniqueFd m_remote;
    std::uint32_t m_node;
    mutable std::mutex m_mutex; ///< Guards the members below.
    mutable std::unique_ptr<Connection> m_connection;
};

/// A recordable display or window.
struct CaptureSource {
    std::string id; ///< "d" or "w" and the identifier of the display or the window in decimal.
    std::string label; ///< Shown to the user.
    std::optional<std::uint32_t> displayID; ///< Set for a display.
    std::optional<std::uint32_t> windowID; ///< Set for a window.
    Rect rect; ///< Position and size, in the global display space.
    double scale = 1; ///< Pixels per unit of `rect`.
    std::shared_ptr<const PipeWireStream> stream; ///< The frames of a source that the portal opened; else null.

    friend bool operator==(const CaptureSource&, const CaptureSource&) = default;
};

/// The recordable sources on X11. On Wayland the portal's picker chooses, and its streams are the sources. Thread-safe;
/// every call queries the server.
///
/// All functions throw `captureError` when there is no X server, or it lacks a needed extension.
namespace CaptureSources {

/// The monitors in the server's order, labelled such as "Pantalla 1 · 1920×1080".
std::vector<CaptureSource> displays();

/// The visible windows, topmost first, labelled such as "Firefox — Portada". Skips those of the process `own`, those
/// without a title, and those at most 80 pixels wide or 60 high.
std::vector<CaptureSource> windows(pid_t own = ::getpid());

/// The current content of a source, fitted into `maxSize`, never enlarged. Returns nullopt when the source is gone.
std::optional<SourceFrame> frame(const CaptureSource& source, FrameSize maxSize);

} // namespace CaptureSources

} // namespace orvo
