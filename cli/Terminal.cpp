#include "cli/Terminal.h"

#include "cli/TextColumns.h"

#include <algorithm>
#include <cstdlib>
#include <sys/ioctl.h>
#include <unistd.h>

namespace orvo::cli::Terminal {

namespace {

constexpr std::string_view gap = "  ";

int descriptor(Stream stream)
{
    return stream == Stream::output ? STDOUT_FILENO : STDERR_FILENO;
}

bool hasColours(Stream stream)
{
    const char* refused = std::getenv("NO_COLOR");
    return !(refused && *refused) && isTerminal(stream);
}

std::string_view code(Tone tone)
{
    switch (tone) {
    case Tone::strong:
        return "\x1b[1m";
    case Tone::quiet:
        return "\x1b[2m";
    case Tone::accent:
        return "\x1b[35m";
    case Tone::good:
        return "\x1b[32m";
    case Tone::warning:
        return "\x1b[33m";
    case Tone::bad:
        return "\x1b[31m";
    }
    return "";
}

std::string padded(std::string_view text, std::size_t room, Table::Align align, bool last)
{
    const std::size_t used = columns(text);
    const std::string blanks(room > used ? room - used : 0, ' ');
    if (align == Table::Align::right)
        return blanks + std::string(text);
    return std::string(text) + (last ? "" : blanks);
}

} // namespace

bool isTerminal(Stream stream)
{
    const char* kind = std::getenv("TERM");
    return ::isatty(descriptor(stream)) == 1 && !(kind && std::string_view(kind) == "dumb");
}

std::size_t width(Stream stream)
{
    winsize size{};
    if (::ioctl(descriptor(stream), TIOCGWINSZ, &size) == 0 && size.ws_col > 0)
        return size.ws_col;
    return 80;
}

std::string toned(Tone tone, std::string_view text, Stream stream)
{
    if (text.empty() || !hasColours(stream))
        return std::string(text);
    return std::string(code(tone)) + std::string(text) + "\x1b[0m";
}

std::string Table::text(std::string_view indent) const
{
    std::vector<std::size_t> widths;
    std::size_t total = columns(indent) + (m_columns.size() - 1) * columns(gap);
    for (std::size_t column = 0; column < m_columns.size(); ++column) {
        std::size_t widest = columns(m_columns[column].title);
        for (const auto& row : m_rows)
            widest = std::max(widest, columns(row[column]));
        widths.push_back(widest);
        total += widest;
    }
    if (isTerminal(Stream::output)) {
        constexpr std::size_t narrowest = 10;
        for (std::size_t column = 0; column < m_columns.size(); ++column) {
            const std::size_t room = width(Stream::output);
            if (!m_columns[column].shrinks || total <= room || widths[column] <= narrowest)
                continue;
            const std::size_t less = std::min(total - room, widths[column] - narrowest);
            widths[column] -= less;
            total -= less;
        }
    }

    std::string result;
    const auto addLine = [&](const auto& cellOf, auto&& paint) {
        std::string line(indent);
        for (std::size_t column = 0; column < m_columns.size(); ++column) {
            const bool last = column + 1 == m_columns.size();
            line += padded(shortened(cellOf(column), widths[column]), widths[column], m_columns[column].align, last);
            if (!last)
                line += gap;
        }
        line.erase(line.find_last_not_of(' ') + 1);
        result += paint(line) + "\n";
    };
    if (std::ranges::any_of(m_columns, [](const Column& column) { return !column.title.empty(); })) {
        addLine([&](std::size_t column) -> const std::string& { return m_columns[column].title; },
            [](const std::string& line) { return toned(Tone::quiet, line); });
    }
    for (const auto& row : m_rows) {
        addLine([&](std::size_t column) -> const std::string& { return row[column]; },
            [](const std::string& line) { return line; });
    }
    return result;
}

std::string wrapped(std::string_view text, std::size_t indent, std::size_t room)
{
    std::string result;
    std::size_t used = indent;
    while (!text.empty()) {
        const std::size_t end = std::min(text.find_first_of(" \n"), text.size());
        const std::string_view word = text.substr(0, end);
        const bool lineBreak = end < text.size() && text[end] == '\n';
        if (used > indent && used + 1 + columns(word) > room) {
            result += "\n" + std::string(indent, ' ');
            used = indent;
        } else if (used > indent) {
            result += ' ';
            ++used;
        }
        result += word;
        used += columns(word);
        text.remove_prefix(std::min(end + 1, text.size()));
        if (lineBreak) {
            result += "\n" + std::string(indent, ' ');
            used = indent;
        }
    }
    return result;
}

} // namespace orvo::cli::Terminal
