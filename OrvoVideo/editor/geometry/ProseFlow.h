#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <vector>

namespace orvo {

/// Lays out words and pauses in lines and paragraphs, like the text of a page. Knows their widths, not their contents.
///
/// Positions are pixels from the top left of the first line. Lookups take logarithmic time, a layout linear time.
class ProseFlow {
public:
    /// An unbreakable unit: a word, a part of a word that contains blanks, or a pause.
    struct Box {
        enum class Kind : std::uint8_t { word, pause };

        Kind kind = Kind::word;
        std::uint32_t index = 0; ///< Index of the word or the pause.
        std::uint32_t from = 0; ///< Offset of its text in the text of the word.
        std::uint32_t length = 0; ///< Length of its text.
        double width = 0;
        double x = 0; ///< Set by the layout.
        std::uint32_t line = 0; ///< Set by the layout.
    };

    struct Line {
        double top = 0;
        std::size_t first = 0; ///< The line holds the boxes from `first` up to, not including, `end`.
        std::size_t end = 0;
        std::size_t paragraph = 0;
        bool opens = false; ///< Whether it is the first line of its paragraph.
    };

    struct Metrics {
        double width = 0; ///< Width of the column.
        double lineHeight = 22;
        double blank = 4; ///< Space between two boxes.
        double paragraphGap = 10;

        friend bool operator==(const Metrics&, const Metrics&) = default;
    };

    struct Place {
        double x = 0;
        double top = 0;
        double width = 0;
    };

    /// Sets the boxes of a text, in order, and the first box of each paragraph. Lays them out.
    void setBoxes(std::vector<Box> boxes, std::vector<std::size_t> paragraphs, std::size_t words);
    void setMetrics(const Metrics& metrics);
    const Metrics& metrics() const noexcept { return m_metrics; }

    double height() const noexcept { return m_height; }
    const std::vector<Line>& lines() const noexcept { return m_lines; }
    const std::vector<Box>& boxes() const noexcept { return m_boxes; }

    /// The line at a height, or the nearest; nullopt without lines.
    std::optional<std::size_t> lineAt(double y) const;
    /// The box at a position, or the nearest one in its line; null without lines.
    const Box* boxAt(double x, double y) const;
    /// The box that covers a position; null beside the text.
    const Box* boxUnder(double x, double y) const;
    /// The word nearest to a position in its line; for a pause, the word before it, or else the next. Returns nullopt
    /// without words.
    std::optional<std::size_t> wordAt(double x, double y) const;

    bool isShown(std::size_t word) const { return word < m_words && m_first[word] != m_first[word + 1]; }
    /// The first line of a word, or of the next visible word; the last line if there is none.
    std::size_t lineOf(std::size_t word) const;
    /// The start of a word and the width of its first box; nullopt for a hidden word.
    std::optional<Place> placeOf(std::size_t word) const;
    /// The caret before a word; after the last word for any larger index.
    Place caret(std::size_t word) const;
    /// One span per line, from the start of word `first` to the end of word `last`.
    std::vector<Place> stretches(std::size_t first, std::size_t last) const;

private:
    void layOut();

    Metrics m_metrics;
    std::vector<Box> m_boxes;
    std::vector<std::size_t> m_paragraphs; ///< The first box of each paragraph.
    std::size_t m_words = 0;
    std::vector<std::uint32_t>
        m_first; ///< The first box of each word, and the end; equal to the next entry for a hidden word.
    std::vector<std::uint32_t> m_last; ///< The last box of each visible word.
    std::vector<Line> m_lines;
    double m_height = 0;
};

} // namespace orvo
