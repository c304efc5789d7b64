#include "cli/Help.h"

#include "cli/Terminal.h"
#include "cli/TextColumns.h"

#include <algorithm>
#include <vector>

namespace orvo::cli {

std::string optionName(const CLI::Option& option)
{
    if (option.get_positional())
        return option.get_name(true, false);
    std::string names = option.get_name(false, true);
    // The library joins names with a bare comma.
    if (const auto comma = names.find(','); comma != std::string::npos)
        names.insert(comma + 1, " ");
    return option.get_expected_max() > 0 ? names + " " + option.get_type_name() : names;
}

namespace {

using Terminal::Tone;

struct Entry {
    std::string name;
    std::string description;
};

bool isShown(const CLI::Option& option)
{
    return !option.get_group().empty();
}

std::vector<Entry> entries(const CLI::App& app, bool positional)
{
    std::vector<Entry> result;
    for (const CLI::Option* option : app.get_options()) {
        if (isShown(*option) && option->get_positional() == positional)
            result.push_back({optionName(*option), option->get_description()});
    }
    return result;
}

std::size_t widestName(const std::vector<Entry>& list)
{
    constexpr std::size_t limit = 24; // Descriptions of longer names start on the next line.
    std::size_t widest = 0;
    for (const Entry& entry : list)
        widest = std::max(widest, std::min(columns(entry.name), limit));
    return widest;
}

std::size_t lineLength()
{
    constexpr std::size_t readable = 100;
    return std::min(Terminal::width(Terminal::Stream::output), readable);
}

/// A titled list of names, in a column of this width, and descriptions.
std::string section(std::string_view title, const std::vector<Entry>& list, std::size_t column)
{
    if (list.empty())
        return "";
    const std::size_t indent = column + 4;
    std::string text = "\n" + Terminal::toned(Tone::strong, title) + "\n";
    for (const Entry& entry : list) {
        const std::size_t used = columns(entry.name);
        text += "  " + Terminal::toned(Tone::accent, entry.name);
        text += used > column ? "\n" + std::string(indent, ' ') : std::string(column - used + 2, ' ');
        text += Terminal::wrapped(entry.description, indent, lineLength()) + "\n";
    }
    return text;
}

/// The commands of an application by their groups, in the order in which they were added.
std::string commandSections(const CLI::App& app)
{
    std::vector<std::string> groups;
    std::vector<Entry> all;
    for (const CLI::App* command : app.get_subcommands({})) {
        if (!std::ranges::contains(groups, command->get_group()))
            groups.push_back(command->get_group());
        all.push_back({command->get_name(), ""});
    }
    std::string text;
    for (const std::string& group : groups) {
        std::vector<Entry> commands;
        for (const CLI::App* command : app.get_subcommands({})) {
            const std::string description = command->get_description();
            if (command->get_group() == group) // Lists show only the first line.
                commands.push_back({command->get_name(), description.substr(0, description.find('\n'))});
        }
        text += section(group, commands, widestName(all));
    }
    return text;
}

} // namespace

std::string usage(const CLI::App& app)
{
    std::string line = app.get_parent() ? app.get_parent()->get_name() + " " + app.get_name() : app.get_name();
    for (const CLI::Option* option : app.get_options()) {
        if (!isShown(*option) || !option->get_positional())
            continue;
        const std::string name = optionName(*option) + (option->get_expected_max() > 1 ? "…" : "");
        line += option->get_required() ? " " + name : " [" + name + "]";
    }
    return line + (app.get_subcommands({}).empty() ? " [opciones]" : " ORDEN …");
}

std::string Help::make_help(const CLI::App* app, std::string /*name*/, CLI::AppFormatMode /*mode*/) const
{
    std::string text = Terminal::wrapped(app->get_description(), 0, lineLength()) + "\n\n";
    text += Terminal::toned(Tone::strong, "Uso:") + " " + usage(*app) + "\n";
    text += commandSections(*app);
    const auto arguments = entries(*app, true);
    text += section("Argumentos", arguments, widestName(arguments));
    auto options = entries(*app, false);
    if (const CLI::App* parent = app->get_parent()) {
        for (const auto& general : entries(*parent, false)) {
            if (std::ranges::find(options, general.name, &Entry::name) == options.end()
                && !general.name.contains("--version"))
                options.push_back(general);
        }
    }
    // The help option comes last.
    std::ranges::stable_partition(options, [](const Entry& entry) { return !entry.name.contains("--help"); });
    text += section("Opciones", options, widestName(options));
    if (!app->get_footer().empty())
        text += "\n" + app->get_footer() + "\n";
    return text;
}

} // namespace orvo::cli
