#pragma once

#include <CLI/CLI.hpp>
#include <string>

namespace orvo::cli {

/// The text of `--help`, in Spanish.
class Help final : public CLI::FormatterBase {
public:
    std::string make_help(const CLI::App* app, std::string name, CLI::AppFormatMode mode) const override;
};

/// The notation of an option or argument: "-V, --version", "--height N", "ARCHIVO".
std::string optionName(const CLI::Option& option);

/// The usage line of a command, for example "orvo cut ID INICIO FIN [opciones]".
std::string usage(const CLI::App& app);

} // namespace orvo::cli
