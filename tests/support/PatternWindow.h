#pragma once

#include "TestSupport/ChildProcess.h"

#include <stdexcept>

namespace orvo::test {

/// The window of TimePattern.h, on the display and the audio server of this process.
class PatternWindow {
public:
    struct Place {
        int x = 0;
        int y = 0;
        int width = 640;
        int height = 360;
    };

    /// Waits until the window is shown. `more` are additional arguments of the program.
    explicit PatternWindow(const Place& place, const std::vector<std::string>& more = {}, int fps = 30)
        : m_program(words({place.x, place.y, place.width, place.height, fps}, more))
    {
        if (m_program.readLine() != "shown")
            throw std::runtime_error("the pattern is not shown");
    }
    void close() { m_program.end(SIGKILL); }

private:
    static std::vector<std::string> words(const std::vector<int>& numbers, const std::vector<std::string>& more)
    {
        std::vector<std::string> all{ORVO_TIME_PATTERN};
        for (const int number : numbers)
            all.push_back(std::to_string(number));
        all.insert(all.end(), more.begin(), more.end());
        return all;
    }

    ChildProcess m_program;
};

} // namespace orvo::test
