#pragma once

#include <cstdint>
#include <memory>
#include <optional>

namespace orvo::test {

/// A screen stream as a desktop's portal opens it: a node in the PipeWire of this process's environment. The left half of
/// its frames is red, the right half blue, and each frame carries the position of the pointer. Like some desktops, it sends
/// no frames while nothing is drawn.
class SharedScreen {
public:
    /// The pixel format. A desktop must not send `separate` (NV12) to a client that did not offer it.
    enum class Order : std::uint8_t { blueGreenRed, redGreenBlue, separate };

    struct Part {
        int x = 0;
        int y = 0;
        int width = 0;
        int height = 0;
    };

    struct Form {
        std::uint32_t width = 320;
        std::uint32_t height = 180;
        Order order = Order::blueGreenRed;
        bool draws = true; ///< Whether something is drawn from the start.
        /// The area of a shared window, if any, in pixels. Its halves have the colours; the rest of the frame is green.
        std::optional<Part> window = {};
        /// Whether to announce the frames as graphics memory to clients that accept it. The memory is ordinary in fact.
        bool graphics = false;
    };

    /// Offers the stream. Throws `std::runtime_error` without PipeWire.
    explicit SharedScreen(const Form& form);
    ~SharedScreen();
    SharedScreen(const SharedScreen&) = delete;
    SharedScreen& operator=(const SharedScreen&) = delete;

    /// Opens a connection like the one the portal passes on. The caller owns the descriptor.
    static int connection();

    std::uint32_t node() const;

    /// Number of frames sent so far.
    int framesInGraphicsMemory() const;
    int framesInMemory() const;

    /// Sends frames from now on.
    void beginToDraw();

    /// Moves the shared window from the next frame on.
    void moveWindow(const Part& part);

    /// Moves the pointer from the next frame on, in pixels.
    void movePointer(int x, int y);
    /// Moves the pointer to another screen from the next frame on.
    void losePointer();

    /// Sends a last frame with swapped colours right after another frame, also when called again. From then on, sends only
    /// the position of the pointer, in buffers without a frame.
    void turnForGood();

private:
    class Stream;

    std::unique_ptr<Stream> m_stream;
};

} // namespace orvo::test
