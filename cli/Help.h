#pragma once

#include <CLI/CLI.hpp>
#include <string>

namespace orvo::cli {

/// The text of `--help`, in Spanish.
class Help final : public CLI::FormatterBase {
public:
    std::string make_help(const CLI::App* app, std::string name, CLI::AppFormatMode mode) const override;
};

/// An option or argument as it is written: "-V, --version", "--height N", "ARCHIVO".
std::string optionName(const CLI::Option& option);

/// The line that shows how a command is called, for example "orvo cut ID INICIO FIN [opciones]".
std::string usage(const CLI::App& app);

} // namespace orvo::cli
