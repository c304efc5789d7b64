#pragma once

#include "EditorGeometry/ProseFlow.h"
#include "OrvoVideo/editor/TranscriptCursor.h"

#include <QColor>
#include <QHash>
#include <QPointer>
#include <QQuickPaintedItem>
#include <QStaticText>
#include <QTimer>
#include <QVariantMap>
#include <optional>

namespace orvo {

/// The colours of the page.
struct ProseColors {
    QColor text;
    QColor secondaryText;
    QColor raised;
    QColor line;
    QColor accentInk;
    QColor selection;
    QColor selectionEdge;
    QColor cutEdge;
    QColor spoken;

    /// From a map with the names above.
    static ProseColors from(const QVariantMap& map);
};

/// The transcript as the text of a page: words and pauses that flow in paragraphs. The item is as high as its view; `offset`
/// is the scroll position. Draws visible lines only.
///
/// Behaves like a text: it has a caret, and pointer and keyboard select words, sentences and paragraphs. ProseAccessible
/// exposes it as a text to assistive technology.
class ProsePage : public QQuickPaintedItem {
    Q_OBJECT
    QML_ELEMENT
    Q_PROPERTY(orvo::TranscriptCursor* reader READ reader WRITE setReader NOTIFY readerChanged REQUIRED)
    /// The colours by the names of `ProseColors`.
    Q_PROPERTY(QVariantMap colors READ colors WRITE setColors NOTIFY colorsChanged)
    Q_PROPERTY(QFont font READ font WRITE setFont NOTIFY fontsChanged)
    /// Font of the times and the pauses.
    Q_PROPERTY(QFont captionFont READ captionFont WRITE setCaptionFont NOTIFY fontsChanged)
    Q_PROPERTY(double offset READ offset WRITE setOffset NOTIFY offsetChanged)
    /// The height of the whole text, in pixels.
    Q_PROPERTY(double contentHeight READ contentHeight NOTIFY laidOut)
    /// Whether cut words and pauses are hidden.
    Q_PROPERTY(bool cutHidden READ cutHidden WRITE setCutHidden NOTIFY cutHiddenChanged)
    /// Counts layouts, so that bindings that call `rectOf` and `topOf` update.
    Q_PROPERTY(int layoutCount READ layoutCount NOTIFY laidOut)
    /// The unsure word under the pointer; -1 for none.
    Q_PROPERTY(int unsureRow READ unsureRow NOTIFY unsureRowChanged)
public:
    static constexpr double margin = 48; ///< Left margin with the times of the paragraphs, in pixels.
    static constexpr double pillPadding = 7; ///< Padding at both ends of a pause, in pixels.
    static constexpr double pauseSign = 10; ///< Space for the two bars of the pause sign, in pixels.

    explicit ProsePage(QQuickItem* parent = nullptr);

    TranscriptCursor* reader() const { return m_reader; }
    void setReader(TranscriptCursor* reader);
    QVariantMap colors() const { return m_colorMap; }
    void setColors(const QVariantMap& colors);
    QFont font() const { return m_font; }
    void setFont(const QFont& font);
    QFont captionFont() const { return m_captionFont; }
    void setCaptionFont(const QFont& font);
    double offset() const { return m_offset; }
    void setOffset(double offset);
    double contentHeight() const;
    bool cutHidden() const { return m_cutHidden; }
    void setCutHidden(bool hidden);
    int layoutCount() const { return m_layoutCount; }
    int unsureRow() const { return m_unsureRow; }

    /// The rectangle of the start of a row's word, in this item at the current offset; empty if the word is hidden.
    Q_INVOKABLE QRectF rectOf(int row) const;
    /// The bounds of the rows from `first` to `last`, in this item at the current offset.
    Q_INVOKABLE QRectF boundsOf(int first, int last) const;
    /// The top of a row's line in the whole text, in pixels.
    Q_INVOKABLE double topOf(int row) const;
    /// The row of the next or previous visible word; -1 if there is none.
    Q_INVOKABLE int nextShown(int row, bool forward) const;
    /// The text of a row.
    Q_INVOKABLE QString wordText(int row) const;
    /// The recogniser's confidence in a row's word, 0..1.
    Q_INVOKABLE double confidence(int row) const;
    bool isUnsure(std::size_t word) const { return word < m_unsure.size() && m_unsure[word]; }

    void paint(QPainter* painter) override;

    /// The text for assistive technology: words separated by blanks, paragraphs by line breaks.
    const QString& wholeText() const;
    /// The offset of a word in that text.
    int textPlace(std::size_t word) const;
    /// The word at an offset of that text.
    std::size_t wordOfPlace(int place) const;
    const ProseFlow& flow() const { return m_flow; }

signals:
    void readerChanged();
    void colorsChanged();
    void fontsChanged();
    void offsetChanged();
    void laidOut();
    void cutHiddenChanged();
    void unsureRowChanged();
    /// Requests a new offset, so that the text being read keeps its position after a layout.
    void offsetWanted(double offset);
    /// The user moved the caret, so it must become visible. `top` is the top of its line in the whole text.
    void caretMoved(double top);
    void editWanted(int row);
    /// Requests a menu for the word of this row or, if the row is -1, for the pause from `start` to `end`.
    void menuWanted(QPointF place, int row, double start, double end, bool cut);

protected:
    void geometryChange(const QRectF& now, const QRectF& before) override;
    void mousePressEvent(QMouseEvent* event) override;
    void mouseMoveEvent(QMouseEvent* event) override;
    void mouseReleaseEvent(QMouseEvent* event) override;
    void mouseUngrabEvent() override;
    void mouseDoubleClickEvent(QMouseEvent* event) override;
    void hoverMoveEvent(QHoverEvent* event) override;
    void hoverLeaveEvent(QHoverEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;
    void focusInEvent(QFocusEvent* event) override;
    void focusOutEvent(QFocusEvent* event) override;

private:
    /// The unit that repeated clicks mark.
    enum class Unit : std::uint8_t { caret, word, sentence, paragraph };

    struct Press {
        QPointF place;
        Unit unit = Unit::caret;
        Transcript::WordRange anchor; ///< The words that the press marked, or the pressed word.
        std::optional<std::size_t> pause; ///< The pressed pause.
        bool isDrag = false;
    };

    struct Pause {
        TimeSpan span;
        double left = 0; ///< Seconds that remain after the cuts.
        QString text;

        bool isCut() const { return left < 0.05; }
    };

    void showWords();
    void showConfidence();
    void setUnsureRow(int row);
    void rebuild();
    void layOut();
    static double widthOf(const QString& text, QHash<QString, double>& known, const QFont& font);
    ProseFlow::Metrics metrics() const;
    QPointF inText(QPointF place) const { return {place.x() - margin, place.y() + m_offset}; }
    Transcript::WordRange unitAt(std::size_t word, Unit unit) const;
    const Transcript::WordRange& paragraphOf(std::size_t word) const;
    std::optional<std::size_t> pauseUnder(QPointF place) const;
    std::optional<std::size_t> timeUnder(QPointF place) const;
    void press(QMouseEvent* event);
    void drag(QPointF place);
    void seekTo(std::size_t word);
    void togglePause(std::size_t pause);
    void setHoveredPause(std::optional<std::size_t> pause);
    std::size_t caretWord() const;
    std::optional<std::size_t> moved(int key, bool withControl) const;
    void moveCaret(std::size_t word, bool extend);
    void tellCaret();

    // Painting (ProsePainting.cpp).
    void paintBehind(QPainter& painter, std::size_t firstLine, std::size_t lastLine) const;
    void paintStretch(QPainter& painter, std::size_t first, std::size_t last, const QColor& color) const;
    void paintBox(QPainter& painter, const ProseFlow::Box& box, double top);
    void paintPause(QPainter& painter, const ProseFlow::Box& box, double top) const;
    void paintCaret(QPainter& painter) const;

    QPointer<TranscriptCursor> m_reader;
    SharedList<TranscriptWord> m_words;
    std::vector<QString> m_texts;
    std::vector<double> m_wordWidths; ///< Width of each unbroken text; negative until measured.
    std::vector<char> m_fillers;
    std::vector<char> m_unsure; ///< Whether the recogniser was unsure of each word.
    int m_unsureRow = -1;
    std::vector<char> m_isCut;
    std::vector<Pause> m_pauses;
    std::vector<Transcript::WordRange> m_paragraphs;
    ProseFlow m_flow;
    QHash<QString, double> m_widths;
    QHash<QString, double> m_captionWidths;
    QHash<QString, QStaticText> m_glyphs; ///< Cache of laid out texts.
    mutable QString m_wholeText;
    mutable std::vector<int> m_textPlaces; ///< The offset of each word in `m_wholeText`, and the end.
    int m_layoutCount = 0;

    QVariantMap m_colorMap;
    ProseColors m_colors;
    QFont m_font;
    QFont m_captionFont;
    double m_offset = 0;
    bool m_cutHidden = false;

    std::optional<Press> m_press;
    std::optional<std::size_t> m_hoveredPause;
    ulong m_lastPressTime = 0;
    QPointF m_lastPressPlace;
    int m_clicks = 0;
    double m_goalX = -1; ///< The x to which Up and Down return; below 0 if not set.
    QTimer m_scrolling; ///< Runs while a drag is beyond an edge.
};

} // namespace orvo
