#pragma once

#include "OrvoVideo/capture/screen/CapturedPicture.h"
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

/// A small picture for people to recognise a source by: red, green, blue.
struct SourcePicture {
    PictureSize size;
    std::vector<std::uint8_t> pixels;
};

/// A stream of pictures that the desktop's portal has opened for this process. Owns the connection, which all that read from
/// the stream share: a second one over the same descriptor would talk across the first.
class PipeWireStream {
public:
    struct Connection;

    PipeWireStream(int descriptor, std::uint32_t node) noexcept;
    ~PipeWireStream();
    PipeWireStream(const PipeWireStream&) = delete;
    PipeWireStream& operator=(const PipeWireStream&) = delete;

    std::uint32_t node() const noexcept { return m_node; }

    /// The connection, which begins with the first call. Throws `captureError` when there is none.
    Connection& connection() const;

    struct Look {
        PictureSize size; ///< Of the source, in pixels.
        std::optional<SourcePicture> picture; ///< Empty when no frame came in time.
    };

    /// Looks at the first frame of a stream, fitted into `largest` (even numbers). The frames of a window may be larger than
    /// the window: a frame says which part of it the window is. Without a frame within `patience` the size is that of the
    /// stream's format: some desktops deliver none until something is drawn.
    ///
    /// Blocks for up to ten seconds and `patience`. Throws `captureError` when the stream has ended, `Cancelled` when
    /// stopped.
    static Look look(const std::shared_ptr<const PipeWireStream>& stream, PictureSize largest,
        std::chrono::milliseconds patience, const std::stop_token& stop = {});

private:
    UniqueFd m_remote;
    std::uint32_t m_node;
    mutable std::mutex m_mutex; ///< Guards the following.
    mutable std::unique_ptr<Connection> m_connection;
};

/// A display or a window that can be recorded.
struct CaptureSource {
    std::string id; ///< "d" or "w" and the identifier of the display or the window in decimal.
    std::string label; ///< Shown to the user.
    std::optional<std::uint32_t> displayID; ///< Of a display.
    std::optional<std::uint32_t> windowID; ///< Of a window.
    Rect rect; ///< Where it is, in the global display space.
    double scale = 1; ///< Pixels of its picture for each unit of `rect`.
    std::shared_ptr<const PipeWireStream> stream; ///< Where its pictures come from, when the portal has opened it.

    friend bool operator==(const CaptureSource&, const CaptureSource&) = default;
};

/// What can be recorded on X11. On Wayland the portal's own picker chooses, and its streams are the sources. Usable from any
/// thread; every call asks the server afresh.
///
/// Everything here throws `captureError` when there is no X server, or when it lacks what recording needs.
namespace CaptureSources {

/// The monitors in the server's order, with labels such as "Pantalla 1 · 1920×1080".
std::vector<CaptureSource> displays();

/// The visible windows, topmost first, with labels such as "Firefox — Portada". Left out are those of the process `own`,
/// those without a title, and those that are not wider than 80 pixels and higher than 60.
std::vector<CaptureSource> windows(pid_t own = ::getpid());

/// What a source shows now, fitted into `largest`, never enlarged. Nothing when it cannot be seen any more.
std::optional<SourcePicture> picture(const CaptureSource& source, PictureSize largest);

} // namespace CaptureSources

} // namespace orvo
