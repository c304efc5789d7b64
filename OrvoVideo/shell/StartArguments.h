#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace orvo {

/// The command line of the application, read before there is a display or a Qt object.
struct StartArguments {
    enum class Kind : std::uint8_t {
        start, ///< Open the windows with `toOpen`.
        answer, ///< Print `text` to standard output and exit with 0.
        refuse, ///< Print `text` to standard error and exit with 2.
    };

    Kind kind = Kind::start;
    std::vector<std::string> toOpen; ///< Movies and identifiers of projects, in the order given.
    std::string text; ///< In Spanish, with a line break at its end.

    /// Whether a Qt option chooses the platform or the display.
    bool choosesPlatform = false;

    /// Parses the arguments after the program's name. Skips Qt's own options (-platform, -style, -session…). Everything
    /// after
    /// "--" goes to `toOpen`.
    static StartArguments read(const std::vector<std::string_view>& words);
};

} // namespace orvo
