#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <vector>

namespace orvo {

/// Words and pauses that flow in lines and paragraphs like the text of a page. Knows their widths, not what they show.
///
/// Places are in pixels from the top left of the first line. Finding a place or a box takes logarithmic time, a new layout
/// linear time.
class ProseFlow {
public:
    /// What does not break: a word, a part of a word with blanks in it, or a pause.
    struct Box {
        enum class Kind : std::uint8_t { word, pause };

        Kind kind = Kind::word;
        std::uint32_t index = 0; ///< Of the word or the pause.
        std::uint32_t from = 0; ///< Where its text begins in that of the word.
        std::uint32_t length = 0; ///< Of its text.
        double width = 0;
        double x = 0; ///< Set by the layout.
        std::uint32_t line = 0; ///< Set by the layout.
    };

    struct Line {
        double top = 0;
        std::size_t first = 0; ///< The boxes `first` to `end`, without `end`.
        std::size_t end = 0;
        std::size_t paragraph = 0;
        bool opens = false; ///< Whether it is the first of its paragraph.
    };

    struct Metrics {
        double width = 0; ///< Of the column.
        double lineHeight = 22;
        double blank = 4; ///< Between two boxes.
        double paragraphGap = 10;

        friend bool operator==(const Metrics&, const Metrics&) = default;
    };

    struct Place {
        double x = 0;
        double top = 0;
        double width = 0;
    };

    /// Takes the boxes of a text, in order, and where each paragraph begins among them; and lays them out.
    void setBoxes(std::vector<Box> boxes, std::vector<std::size_t> paragraphs, std::size_t words);
    void setMetrics(const Metrics& metrics);
    const Metrics& metrics() const noexcept { return m_metrics; }

    double height() const noexcept { return m_height; }
    const std::vector<Line>& lines() const noexcept { return m_lines; }
    const std::vector<Box>& boxes() const noexcept { return m_boxes; }

    /// The line at a height, or the nearest; nothing without lines.
    std::optional<std::size_t> lineAt(double y) const;
    /// The box at a place, or the nearest one of its line.
    const Box* boxAt(double x, double y) const;
    /// The box that covers a place; null for a place beside the text.
    const Box* boxUnder(double x, double y) const;
    /// The word at a place, or the nearest one of its line or of the lines before.
    std::optional<std::size_t> wordAt(double x, double y) const;

    bool isShown(std::size_t word) const { return word < m_words && m_first[word] != m_first[word + 1]; }
    /// The first line of a word, or of the next that is shown. The last line behind the last word.
    std::size_t lineOf(std::size_t word) const;
    /// Where a word begins, and the width of its first box; nothing for one that is not shown.
    std::optional<Place> placeOf(std::size_t word) const;
    /// Where a caret before this word stands; behind the last word for any larger number.
    Place caret(std::size_t word) const;
    /// The stretches, one for each line, from the beginning of word `first` to the end of word `last`.
    std::vector<Place> stretches(std::size_t first, std::size_t last) const;

private:
    void layOut();

    Metrics m_metrics;
    std::vector<Box> m_boxes;
    std::vector<std::size_t> m_paragraphs; ///< The first box of each.
    std::size_t m_words = 0;
    std::vector<std::uint32_t>
        m_first; ///< The first box of each word, one more than words; equal to the next when not shown.
    std::vector<std::uint32_t> m_last; ///< The last box of each word that is shown.
    std::vector<Line> m_lines;
    double m_height = 0;
};

} // namespace orvo
