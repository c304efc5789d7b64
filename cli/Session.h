#pragma once

#include "cli/JsonValue.h"
#include "cli/Library.h"

#include <optional>
#include <string>
#include <string_view>

namespace orvo::cli {

/// The context of every command: the library and the output format.
class Session {
public:
    /// Values of the general options.
    struct Options {
        std::string library;
        bool json = false;
    };

    Options options;

    /// The library of `--library`, else of ORVO_LIBRARY, else the one of the user. Throws `captureError` if the folder
    /// of `--library` does not exist: a mistyped name must not look like an empty library.
    Library& library();

    bool json() const noexcept { return options.json; }

    /// Writes to standard output. Throws `captureError` on failure.
    void print(std::string_view text);

    /// Writes the JSON value of the command.
    void answer(const JsonValue& value) { print(value.text()); }

    /// Writes a sentence to standard error, unless the output is JSON.
    void note(std::string_view sentence) const;

private:
    std::optional<Library> m_library;
};

} // namespace orvo::cli
