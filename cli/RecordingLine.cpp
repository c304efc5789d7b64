#include "cli/RecordingLine.h"

#include "cli/ArgumentValues.h"
#include "cli/Terminal.h"
#include "cli/TextColumns.h"

#include <algorithm>
#include <chrono>
#include <cmath>
#include <condition_variable>
#include <cstdio>
#include <mutex>

namespace orvo::cli {

using namespace std::chrono_literals;

namespace {

constexpr auto redraw = 125ms;
constexpr int meterLength = 12;
constexpr float minLevel = -48; ///< Decibels below full scale at the lower end of the meter.
constexpr float fall = 0.8F; ///< Decay of the meter per redraw.

std::string meter(float level)
{
    const float decibels = 20 * std::log10(std::max(level, 1e-6F));
    const int full = std::clamp(static_cast<int>(std::lround((1 - decibels / minLevel) * meterLength)), 0, meterLength);
    std::string bar;
    for (int i = 0; i < meterLength; ++i)
        bar += i < full ? "▮" : "▯";
    return bar;
}

} // namespace

RecordingLine::RecordingLine(const std::string& label, const RecordingSession& recording, CaptureEngine& engine)
    : m_label(printable(label))
    , m_recording(recording)
    , m_engine(engine)
{
    if (!Terminal::isTerminal(Terminal::Stream::error))
        return;
    m_drawing = std::jthread([this](const std::stop_token& stop) {
        std::mutex mutex;
        std::condition_variable_any changed;
        std::unique_lock lock(mutex);
        while (!stop.stop_requested()) {
            draw();
            changed.wait_for(lock, stop, redraw, [] { return false; });
        }
        std::fputs("\r\x1b[K", stderr);
    });
}

RecordingLine::~RecordingLine() = default;

void RecordingLine::draw()
{
    using Terminal::Stream;
    using Terminal::Tone;
    m_level = std::max(m_engine.takeMicrophonePeak(), m_level * fall);
    const std::string time = clockTime(std::floor(m_recording.time()));
    const std::string end = "  Ctrl+C termina";
    const std::size_t room = Terminal::width(Stream::error);
    const std::size_t used = columns(time) + meterLength + columns(end) + 18;
    std::string line = Terminal::toned(Tone::bad, "●", Stream::error) + " Grabando " + time + "  "
        + Terminal::toned(Tone::good, meter(m_level), Stream::error);
    if (room > used + 8)
        line += "  " + shortened(m_label, room - used);
    if (const auto dropped = m_engine.dropped(); dropped > 0)
        line += Terminal::toned(Tone::warning, "  " + std::to_string(dropped) + " perdidos", Stream::error);
    else
        line += Terminal::toned(Tone::quiet, end, Stream::error);
    std::fputs(("\r\x1b[K" + line).c_str(), stderr);
    std::fflush(stderr);
}

} // namespace orvo::cli
