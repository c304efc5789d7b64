#include "cli/Manual.h"

#include "cli/Help.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <format>
#include <string_view>

namespace orvo::cli {

namespace {

/// Escapes a text for roff.
std::string roff(std::string_view text)
{
    std::string result;
    bool atBeginning = true;
    for (const char c : text) {
        if (c == '\\')
            result += "\\e";
        else if (c == '-')
            result += "\\-";
        else if (atBeginning && (c == '.' || c == '\''))
            result += std::string("\\&") + c;
        else
            result += c;
        atBeginning = c == '\n';
    }
    return result;
}

std::string roffOptions(const CLI::App& app)
{
    std::string text;
    for (const CLI::Option* option : app.get_options()) {
        if (option->get_group().empty())
            continue;
        text += std::format(".TP\n.B {}\n{}\n", roff(optionName(*option)), roff(option->get_description()));
    }
    return text;
}

/// A table of arguments or options of a command; empty if it has none.
std::string optionTable(const CLI::App& app)
{
    std::string rows;
    for (const CLI::Option* option : app.get_options()) {
        const std::string name = optionName(*option);
        if (!option->get_group().empty() && !name.contains("--help"))
            rows += std::format("| `{}` | {} |\n", name, option->get_description());
    }
    return rows.empty() ? "" : "\n| | |\n|---|---|\n" + rows;
}

} // namespace

std::string manualPage(const CLI::App& app)
{
    std::string text = std::format(".TH ORVO 1 \"\" \"Orvo Video\"\n.SH NOMBRE\norvo \\- {}\n.SH SINOPSIS\n"
                                   ".B orvo\n.I ORDEN\n.RI [ argumentos ]\n.RI [ opciones ]\n.SH OPCIONES GENERALES\n{}",
        roff("graba, edita, exporta y publica vídeos de Orvo Video"), roffOptions(app));
    text += ".SH ÓRDENES\n";
    for (const CLI::App* command : app.get_subcommands({})) {
        text += std::format(".SS {}\n{}\n", roff("orvo " + command->get_name()), roff(command->get_description()));
        text += roffOptions(*command);
        if (!command->get_footer().empty())
            text += ".PP\n.nf\n" + roff(command->get_footer()) + "\n.fi\n";
    }
    return text + ".SH NOTAS\n.nf\n" + roff(app.get_footer()) + "\n.fi\n";
}

std::string referencePage(const CLI::App& app)
{
    std::string text = "### General\n" + optionTable(app);
    for (const CLI::App* command : app.get_subcommands({})) {
        std::string description = command->get_description();
        std::ranges::replace(description, '\n', ' ');
        text +=
            std::format("\n### {}\n`{}`: {}\n{}", command->get_name(), usage(*command), description, optionTable(*command));
    }
    return text;
}

} // namespace orvo::cli
