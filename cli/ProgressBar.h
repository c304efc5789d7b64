#pragma once

#include <chrono>
#include <condition_variable>
#include <mutex>
#include <string>
#include <thread>

namespace orvo::cli {

/// A line on standard error with the progress, the elapsed and the estimated remaining time. Redraws itself and
/// disappears with the object. Does nothing if standard error is not a terminal.
class ProgressBar {
public:
    /// `label` names the work.
    explicit ProgressBar(std::string label);
    ~ProgressBar();
    ProgressBar(const ProgressBar&) = delete;
    ProgressBar& operator=(const ProgressBar&) = delete;

    /// Sets the fraction done, 0 to 1. Usable from any thread.
    void report(double fraction);

private:
    using Clock = std::chrono::steady_clock;

    void draw() const;

    std::string m_label;
    Clock::time_point m_start = Clock::now();
    Clock::time_point m_firstReport; ///< The start of the measurable work.
    double m_firstFraction = 0;
    double m_fraction = -1; ///< Negative before the first report.
    bool m_over = false;
    std::mutex m_mutex;
    std::condition_variable m_changed;
    std::thread m_drawing;
};

} // namespace orvo::cli
