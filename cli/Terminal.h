#pragma once

#include <cstddef>
#include <cstdint>
#include <initializer_list>
#include <string>
#include <string_view>
#include <vector>

/// Formatting for terminals. If the output is not a terminal, it has no colours and lines are not shortened.
namespace orvo::cli::Terminal {

enum class Stream : std::uint8_t { output, error };

/// Whether the stream is a terminal that understands control sequences.
bool isTerminal(Stream stream);

/// Columns of the terminal; 80 if unknown.
std::size_t width(Stream stream);

enum class Tone : std::uint8_t {
    strong, ///< Titles.
    quiet, ///< Secondary details.
    accent,
    good,
    warning,
    bad,
};

/// The text in a colour if the stream is a terminal and NO_COLOR is not set.
std::string toned(Tone tone, std::string_view text, Stream stream = Stream::output);

/// Rows of printable cells in aligned columns.
class Table {
public:
    enum class Align : std::uint8_t { left, right };

    struct Column {
        std::string title; ///< Shown above the column; the head is omitted when all titles are empty.
        Align align = Align::left;
        bool shrinks = false; ///< Its cells are shortened when the terminal is too narrow.
    };

    explicit Table(std::vector<Column> columns)
        : m_columns(std::move(columns))
    {
    }

    void add(std::vector<std::string> cells) { m_rows.push_back(std::move(cells)); }

    /// Every line starts with `indent` and ends with a line break.
    std::string text(std::string_view indent = "") const;

private:
    std::vector<Column> m_columns;
    std::vector<std::vector<std::string>> m_rows;
};

/// Wraps a text at words to at most `room` columns; all lines but the first start with `indent` blanks.
std::string wrapped(std::string_view text, std::size_t indent, std::size_t room);

} // namespace orvo::cli::Terminal
