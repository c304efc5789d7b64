#include "cli/ProgressBar.h"

#include "cli/ArgumentValues.h"
#include "cli/Terminal.h"
#include "cli/TextColumns.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <format>

namespace orvo::cli {

using namespace std::chrono_literals;

namespace {

constexpr auto redraw = 200ms;
constexpr std::size_t widestBar = 30;
constexpr std::size_t narrowestBar = 6;

std::string repeated(std::string_view text, std::size_t times)
{
    std::string result;
    while (times-- > 0)
        result += text;
    return result;
}

} // namespace

ProgressBar::ProgressBar(std::string label)
    : m_label(std::move(label))
{
    if (!Terminal::isTerminal(Terminal::Stream::error))
        return;
    m_drawing = std::thread([this] {
        std::unique_lock lock(m_mutex);
        while (!m_over) {
            draw();
            m_changed.wait_for(lock, redraw, [this] { return m_over; });
        }
        std::fputs("\r\x1b[K", stderr);
    });
}

ProgressBar::~ProgressBar()
{
    if (!m_drawing.joinable())
        return;
    {
        const std::lock_guard lock(m_mutex);
        m_over = true;
    }
    m_changed.notify_all();
    m_drawing.join();
}

void ProgressBar::report(double fraction)
{
    const std::lock_guard lock(m_mutex);
    if (m_fraction < 0) {
        m_firstReport = Clock::now();
        m_firstFraction = std::max(fraction, 0.0);
    }
    m_fraction = std::clamp(fraction, 0.0, 1.0);
}

void ProgressBar::draw() const
{
    using Terminal::Tone;
    const auto seconds = [](Clock::duration length) { return std::chrono::duration<double>(length).count(); };
    const Clock::time_point now = Clock::now();
    std::string line = m_label;
    const std::string elapsed = clockTime(std::floor(seconds(now - m_start)));
    if (m_fraction < 0) {
        line += "  " + elapsed;
    } else {
        std::string after = std::format("  {:3.0f} %  {}", std::floor(m_fraction * 100), elapsed);
        const double done = m_fraction - m_firstFraction;
        if (done > 0.03 && m_fraction < 1)
            after += ", quedan " + clockTime(std::ceil(seconds(now - m_firstReport) * (1 - m_fraction) / done));
        const std::size_t room = Terminal::width(Terminal::Stream::error);
        const std::size_t used = columns(line) + columns(after) + 3;
        const std::size_t bar = std::min(widestBar, room > used ? room - used : 0);
        if (bar >= narrowestBar) {
            const auto full = static_cast<std::size_t>(m_fraction * static_cast<double>(bar));
            line += "  " + Terminal::toned(Tone::accent, repeated("━", full), Terminal::Stream::error)
                + Terminal::toned(Tone::quiet, repeated("─", bar - full), Terminal::Stream::error);
        }
        line += after;
    }
    std::fputs(("\r\x1b[K" + line).c_str(), stderr);
    std::fflush(stderr);
}

} // namespace orvo::cli
