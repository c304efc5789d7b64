#pragma once

#include <cstdint>
#include <memory>
#include <optional>

namespace orvo::test {

/// A stream of pictures as a desktop's portal opens it: a node in the PipeWire of this process's environment. Its left half
/// is red, its right half blue, and beside every picture it tells where the pointer is. As of some desktops, of a screen on
/// which nothing is drawn no picture comes.
class SharedScreen {
public:
    /// Of the colours; `separate` planes of brightness and colour are not what a desktop may send to a program that has not
    /// asked for them.
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
        /// The part of the frames that a shared window is, if one is. Its halves have the colours, around it all is green.
        std::optional<Part> window = {};
        /// Whether frames come in memory of a graphics card to those who take them. There is none: it is only called so.
        bool graphics = false;
    };

    /// Offers the stream. Throws `std::runtime_error` without a PipeWire.
    explicit SharedScreen(const Form& form);
    ~SharedScreen();
    SharedScreen(const SharedScreen&) = delete;
    SharedScreen& operator=(const SharedScreen&) = delete;

    /// A connection as the portal hands it over; the caller's own.
    static int connection();

    std::uint32_t node() const;

    /// Number of frames sent so far.
    int framesInGraphicsMemory() const;
    int framesInMemory() const;

    /// From now on something is drawn all the time.
    void beginToDraw();

    /// Where the window is from the next frame on.
    void moveWindow(const Part& part);

    /// Where the pointer is from the next picture on, in pixels.
    void movePointer(int x, int y);
    /// From the next picture on the pointer is on another screen.
    void losePointer();

    /// Turns the colours around in one last picture, hard on the heels of another. From then on it only tells where the
    /// pointer is, in buffers without a picture.
    void turnForGood();

private:
    class Stream;

    std::unique_ptr<Stream> m_stream;
};

} // namespace orvo::test
