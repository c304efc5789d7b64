// Shows the window of TimePattern.h on DISPLAY and, with --sound, plays its tone. Prints "shown" when the window is visible.
//
// orvo-time-pattern X Y WIDTH HEIGHT FPS [--sound] [--title TITLE] [--motion] [--log FILE]
//
// With --motion, a page of lines scrolls in the background. --log writes the milliseconds of every shown frame.

#include "TestSupport/TimePattern.h"

#include <array>
#include <chrono>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <numbers>
#include <pulse/error.h>
#include <pulse/simple.h>
#include <random>
#include <string>
#include <string_view>
#include <thread>
#include <utility>
#include <vector>
#include <xcb/xcb.h>

namespace {

using namespace orvo::test;
using Clock = std::chrono::steady_clock;

double seconds(Clock::time_point time)
{
    return std::chrono::duration<double>(time.time_since_epoch()).count();
}

bool flashes(double time)
{
    return time - std::floor(time) < TimePattern::flashLength;
}

/// A window with double buffering: draws into a pixmap of the server, then copies it at once.
class Window {
public:
    struct Place {
        std::int16_t x, y;
        std::uint16_t width, height;
    };

    Window(const Place& place, const std::string& title)
        : m_place(place)
        , m_connection(xcb_connect(nullptr, nullptr))
    {
        if (xcb_connection_has_error(m_connection) != 0)
            std::exit(1);
        const auto* screen = xcb_setup_roots_iterator(xcb_get_setup(m_connection)).data;
        m_window = xcb_generate_id(m_connection);
        xcb_create_window(m_connection, XCB_COPY_FROM_PARENT, m_window, screen->root, place.x, place.y, place.width,
            place.height, 0, XCB_WINDOW_CLASS_INPUT_OUTPUT, screen->root_visual, 0, nullptr);
        xcb_change_property(m_connection, XCB_PROP_MODE_REPLACE, m_window, XCB_ATOM_WM_NAME, XCB_ATOM_STRING, 8,
            static_cast<std::uint32_t>(title.size()), title.data());
        xcb_change_property(m_connection, XCB_PROP_MODE_REPLACE, m_window, atom("_NET_WM_NAME"), atom("UTF8_STRING"), 8,
            static_cast<std::uint32_t>(title.size()), title.data());
        constexpr auto kind = std::to_array("pattern\0Pattern"); // Includes the final null.
        xcb_change_property(m_connection, XCB_PROP_MODE_REPLACE, m_window, XCB_ATOM_WM_CLASS, XCB_ATOM_STRING, 8,
            static_cast<std::uint32_t>(kind.size()), kind.data());
        m_pixmap = xcb_generate_id(m_connection);
        xcb_create_pixmap(m_connection, screen->root_depth, m_pixmap, m_window, place.width, place.height);
        m_pen = xcb_generate_id(m_connection);
        constexpr std::uint32_t noEvents = 0;
        xcb_create_gc(m_connection, m_pen, m_pixmap, XCB_GC_GRAPHICS_EXPOSURES, &noEvents);
        xcb_map_window(m_connection, m_window);
        xcb_flush(m_connection);
    }

    ~Window() { xcb_disconnect(m_connection); }
    Window(const Window&) = delete;
    Window& operator=(const Window&) = delete;

    /// Scrolls a page of lines in the background from now on.
    void beginMotion()
    {
        constexpr int line = 22;
        m_page = xcb_generate_id(m_connection);
        xcb_create_pixmap(m_connection, 24, m_page, m_window, m_place.width, static_cast<std::uint16_t>(2 * m_place.height));
        const auto target = std::exchange(m_pixmap, m_page);
        fill(0xF4F2EE, 0, 0, m_place.width, 2 * m_place.height);
        std::mt19937 random(5);
        for (int y = 8; y < m_place.height; y += line) {
            for (int x = 30; x < m_place.width - 40;) {
                const int length = 6 + static_cast<int>(random() % 50);
                const auto colour = random() % 6 == 0 ? 0x3050C0U : 0x202428U;
                for (int copy = 0; copy < 2; ++copy)
                    fill(colour, x, y + copy * m_place.height, length, 10);
                x += length + 7;
            }
        }
        m_pixmap = target;
    }

    /// The milliseconds that a frame of this time shows.
    static std::uint64_t millisecondsOf(double time)
    {
        return static_cast<std::uint64_t>(time * 1000) % TimePattern::period;
    }

    /// Draws and shows a frame. False if the window is gone.
    bool show(double time)
    {
        const int width = m_place.width;
        const int height = m_place.height;
        if (m_page) {
            m_scrolled = (m_scrolled + 3) % height;
            xcb_copy_area(m_connection, m_page, m_pixmap, m_pen, 0, static_cast<std::int16_t>(m_scrolled), 0, 0,
                m_place.width, m_place.height);
            drawTime(time);
            return present();
        }
        fill(0x303030, 0, 0, width, height);
        fill(flashes(time) ? 0xFFFFFF : 0x202020, 0, height / 2, width, height / 2);
        constexpr int corner = TimePattern::corner;
        fill(0xFF0000, 0, 0, corner, corner);
        fill(0x00FF00, width - corner, 0, corner, corner);
        fill(0x0000FF, 0, height - corner, corner, corner);
        fill(0xFFFF00, width - corner, height - corner, corner, corner);
        drawTime(time);
        return present();
    }

private:
    void drawTime(double time)
    {
        const auto milliseconds = millisecondsOf(time);
        for (int bit = 0; bit < TimePattern::bits; ++bit) {
            const bool isOne = (milliseconds >> (TimePattern::bits - 1 - bit) & 1) != 0;
            fill(isOne ? 0xFFFFFF : 0x000000, TimePattern::left + bit * TimePattern::block, TimePattern::top,
                TimePattern::block, TimePattern::block);
        }
    }

    bool present()
    {
        xcb_copy_area(m_connection, m_pixmap, m_window, m_pen, 0, 0, 0, 0, m_place.width, m_place.height);
        // Waits until the server has drawn everything.
        xcb_generic_error_t* error = nullptr;
        // NOLINTNEXTLINE(cppcoreguidelines-no-malloc)
        std::free(xcb_get_geometry_reply(m_connection, xcb_get_geometry(m_connection, m_window), &error));
        const bool isThere = !error && xcb_connection_has_error(m_connection) == 0;
        std::free(error); // NOLINT(cppcoreguidelines-no-malloc)
        return isThere;
    }

    xcb_atom_t atom(std::string_view name) const
    {
        auto* reply = xcb_intern_atom_reply(
            m_connection, xcb_intern_atom(m_connection, 0, static_cast<std::uint16_t>(name.size()), name.data()), nullptr);
        const xcb_atom_t number = reply ? reply->atom : static_cast<xcb_atom_t>(XCB_ATOM_NONE);
        std::free(reply); // NOLINT(cppcoreguidelines-no-malloc)
        return number;
    }

    void fill(std::uint32_t colour, int x, int y, int width, int height)
    {
        xcb_change_gc(m_connection, m_pen, XCB_GC_FOREGROUND, &colour);
        const xcb_rectangle_t area{static_cast<std::int16_t>(x), static_cast<std::int16_t>(y),
            static_cast<std::uint16_t>(width), static_cast<std::uint16_t>(height)};
        xcb_poly_fill_rectangle(m_connection, m_pixmap, m_pen, 1, &area);
    }

    Place m_place;
    xcb_connection_t* m_connection;
    xcb_window_t m_window = 0;
    xcb_pixmap_t m_pixmap = 0;
    xcb_gcontext_t m_pen = 0;
    xcb_pixmap_t m_page = 0;
    int m_scrolled = 0;
};

/// Plays tones in time with the flashes, and silence between them.
void play(const std::stop_token& stop)
{
    constexpr int rate = 48'000;
    constexpr std::size_t blockLength = rate / 100;
    const pa_sample_spec form{.format = PA_SAMPLE_FLOAT32LE, .rate = rate, .channels = 1};
    pa_buffer_attr memory{};
    memory.maxlength = memory.prebuf = memory.minreq = memory.fragsize = ~std::uint32_t{0};
    memory.tlength = static_cast<std::uint32_t>(4 * blockLength * sizeof(float));
    int error = 0;
    pa_simple* stream =
        pa_simple_new(nullptr, "pattern", PA_STREAM_PLAYBACK, nullptr, "tone", &form, nullptr, &memory, &error);
    if (!stream) {
        std::fprintf(stderr, "no audio: %s\n", pa_strerror(error));
        std::exit(1);
    }
    std::vector<float> block(blockLength);
    double position = 0; ///< When the next sample is heard, in seconds.
    int blocks = 0;
    int displaced = 0; ///< Consecutive blocks whose measured time is far off.
    while (!stop.stop_requested()) {
        // Measured times jitter although the audio plays evenly, so they are smoothed. After an underrun, all of them are
        // off.
        const double measured =
            seconds(Clock::now()) + static_cast<double>(pa_simple_get_latency(stream, &error)) / 1'000'000;
        displaced = std::abs(measured - position) > 0.015 ? displaced + 1 : 0;
        position = blocks < 20 || displaced > 5 ? measured : position + (measured - position) * 0.005;
        ++blocks;
        for (std::size_t i = 0; i < block.size(); ++i) {
            const double time = position + static_cast<double>(i) / rate;
            const double inSecond = time - std::floor(time);
            block[i] = flashes(time) && blocks > 20
                ? 0.5F * static_cast<float>(std::cos(2 * std::numbers::pi * TimePattern::tone * inSecond))
                : 0;
        }
        position += static_cast<double>(blockLength) / rate;
        if (pa_simple_write(stream, block.data(), block.size() * sizeof(float), &error) < 0)
            break;
    }
    pa_simple_free(stream);
}

} // namespace

int main(int argc, char** argv)
{
    if (argc < 6)
        return 2;
    bool playsTone = false;
    bool moves = false;
    std::ofstream log;
    std::string title = "Time pattern";
    for (int i = 6; i < argc; ++i) {
        if (std::string_view(argv[i]) == "--sound")
            playsTone = true;
        else if (std::string_view(argv[i]) == "--motion")
            moves = true;
        else if (std::string_view(argv[i]) == "--title" && i + 1 < argc)
            title = argv[++i];
        else if (std::string_view(argv[i]) == "--log" && i + 1 < argc)
            log.open(argv[++i]);
    }
    const auto number = [argv](int index) { return std::atoi(argv[index]); };
    Window window({.x = static_cast<std::int16_t>(number(1)),
                      .y = static_cast<std::int16_t>(number(2)),
                      .width = static_cast<std::uint16_t>(number(3)),
                      .height = static_cast<std::uint16_t>(number(4))},
        title);
    if (moves)
        window.beginMotion();
    std::jthread tone;
    if (playsTone)
        tone = std::jthread(play);
    const auto interval = std::chrono::duration_cast<Clock::duration>(std::chrono::seconds(1)) / number(5);
    auto next = Clock::now();
    for (bool first = true;; first = false) {
        const double time = seconds(Clock::now());
        if (!window.show(time))
            return 0;
        if (log.is_open())
            log << Window::millisecondsOf(time) << std::endl;
        if (first) {
            std::puts("shown");
            std::fflush(stdout);
        }
        next += interval;
        std::this_thread::sleep_until(next);
    }
}
