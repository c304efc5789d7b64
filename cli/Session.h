#pragma once

#include "cli/JsonValue.h"
#include "cli/Library.h"

#include <optional>
#include <string>
#include <string_view>

namespace orvo::cli {

/// What every command has: the library, and the way its answer is written.
class Session {
public:
    /// What the general options say.
    struct Options {
        std::string library;
        bool json = false;
    };

    Options options;

    /// The library of `--library`, else of ORVO_LIBRARY, else the user's own. Throws `captureError` for a folder of
    /// `--library` that is not there: a mistyped name must not look like an empty library.
    Library& library();

    bool json() const noexcept { return options.json; }

    /// Writes to standard output. Throws `captureError` when that fails.
    void print(std::string_view text);

    /// The one value that a script gets.
    void answer(const JsonValue& value) { print(value.text()); }

    /// Writes a sentence to standard error, unless the answer is for a script.
    void note(std::string_view sentence) const;

private:
    std::optional<Library> m_library;
};

} // namespace orvo::cli
