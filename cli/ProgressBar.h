#pragma once

#include <chrono>
#include <condition_variable>
#include <mutex>
#include <string>
#include <thread>

namespace orvo::cli {

/// A line on standard error that shows how far some work is, how long it has taken and how long it may still take. It is
/// redrawn by itself, and gone when the object goes. Nothing is shown when standard error is not a terminal.
class ProgressBar {
public:
    /// `label` says what is being done.
    explicit ProgressBar(std::string label);
    ~ProgressBar();
    ProgressBar(const ProgressBar&) = delete;
    ProgressBar& operator=(const ProgressBar&) = delete;

    /// The fraction done, 0 to 1. Any thread.
    void report(double fraction);

private:
    using Clock = std::chrono::steady_clock;

    void draw() const;

    std::string m_label;
    Clock::time_point m_start = Clock::now();
    Clock::time_point m_firstReport; ///< When work that can be measured began.
    double m_firstFraction = 0;
    double m_fraction = -1; ///< Negative while nothing is known.
    bool m_over = false;
    std::mutex m_mutex;
    std::condition_variable m_changed;
    std::thread m_drawing;
};

} // namespace orvo::cli
