#include "VideoCore/DocumentCodec.h"
#include "VideoCore/DocumentSchema.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <tuple>
#include <utf8proc.h>
#include <utility>

namespace orvo {

namespace {

using schema::fieldsOf;
using schema::Record;

/// Whether a byte is copied, escaped, or starts a character that must be checked as UTF-8.
enum class Byte : std::uint8_t { plain, escaped, beyondAscii };

constexpr auto byteClasses = [] {
    std::array<Byte, 256> classes{};
    for (std::size_t i = 0; i < classes.size(); ++i)
        classes[i] = i >= 0x80 ? Byte::beyondAscii : i < 0x20 || i == '"' || i == '\\' ? Byte::escaped : Byte::plain;
    return classes;
}();

/// The encoded text. Collects pieces in a buffer that fits the processor's cache; a writer reserves room once, then copies.
class Output {
public:
    explicit Output(std::size_t expectedLength) { m_text.reserve(expectedLength); }

    /// Room for `length` characters, at most `maxPiece`; `advance` reports how many were written.
    char* room(std::size_t length)
    {
        if (static_cast<std::size_t>(m_buffer.data() + m_buffer.size() - m_next) < length)
            flush();
        return m_next;
    }

    void advance(char* end) { m_next = end; }

    void put(char c)
    {
        *room(1) = c;
        ++m_next;
    }

    void put(std::string_view text)
    {
        if (text.size() > maxPiece) {
            flush();
            m_text += text;
            return;
        }
        advance(std::ranges::copy(text, room(text.size())).out);
    }

    std::string take()
    {
        flush();
        return std::move(m_text);
    }

    static constexpr std::size_t maxPiece = 1024;

private:
    void flush()
    {
        m_text.append(m_buffer.data(), m_next);
        m_next = m_buffer.data();
    }

    std::string m_text;
    std::array<char, 16 * maxPiece> m_buffer;
    char* m_next = m_buffer.data();
};

/// Writes directly, without a tree in between: a long recording is saved after every pause in editing.
class Writer {
public:
    explicit Writer(Output& out)
        : m_out(out)
    {
    }

    void write(bool value) { m_out.put(value ? std::string_view("true") : std::string_view("false")); }

    void write(std::int64_t value) { writeNumber(value); }

    void write(double value)
    {
        if (!std::isfinite(value))
            throw DocumentError("No se puede guardar el proyecto: contiene un número que no es finito.");
        // Most numbers are whole or have one decimal, which needs no search for the shortest digits.
        if (value >= 0 && value <= 10'000 && !std::signbit(value)) {
            // NOLINTNEXTLINE(bugprone-incorrect-roundings): std::llround is a call, and no value is negative.
            const auto tenths = static_cast<std::int64_t>(value * 10 + 0.5);
            if (static_cast<double>(tenths) / 10 == value) {
                writeNumber(tenths / 10);
                m_out.put('.');
                m_out.put(static_cast<char>('0' + tenths % 10));
                return;
            }
        }
        const auto digits = writeNumber(value);
        if (digits.find_first_of(".e") == std::string_view::npos)
            m_out.put(".0"); // Keeps the sign of zero and marks the number as not an integer.
    }

    void write(std::string_view text)
    {
        m_out.put('"');
        std::size_t done = 0;
        std::size_t position = 0;
        while (position < text.size()) {
            switch (byteClasses[static_cast<unsigned char>(text[position])]) {
            case Byte::plain:
                ++position;
                break;
            case Byte::escaped:
                m_out.put(text.substr(done, position - done));
                writeEscape(text[position++]);
                done = position;
                break;
            case Byte::beyondAscii:
                position += characterLength(text.substr(position));
                break;
            }
        }
        m_out.put(text.substr(done));
        m_out.put('"');
    }

    void write(TrackKind kind) { write(textOf(kind)); }
    void write(PointerKind kind) { write(textOf(kind)); }
    void write(Overlay::Kind kind) { write(textOf(kind)); }
    void write(DateTime instant) { write(std::string_view(formatIso8601(instant))); }

    void write(const Uuid& id)
    {
        constexpr std::size_t length = 38; // 36 and the quotation marks.
        char* quoted = m_out.room(length);
        quoted[0] = quoted[length - 1] = '"';
        id.write(quoted + 1);
        m_out.advance(quoted + length);
    }

    template <typename T> void write(const std::vector<T>& items)
    {
        if (items.empty()) {
            m_out.put("[]");
            return;
        }
        m_out.put('[');
        ++m_depth;
        bool first = true;
        for (const auto& item : items) {
            beginLine(first);
            write(item);
        }
        --m_depth;
        endLines(']');
    }

    template <typename T> void write(const SharedList<T>& list) { write(list.items()); }

    template <Record T> void write(const T& record)
    {
        m_out.put('{');
        ++m_depth;
        bool first = true;
        [&]<std::size_t... Index>(std::index_sequence<Index...>) {
            (writeField<T, Index>(first, record.*std::get<Index>(fieldsOf<T>).member), ...);
        }(std::make_index_sequence<schema::fieldCount<T>>());
        --m_depth;
        endLines('}');
    }

private:
    template <Record T, std::size_t Index, typename Value> void writeField(bool& first, const Value& value)
    {
        // Computed at compile time, so that it is copied in a few instructions.
        static constexpr auto label = [] {
            constexpr std::string_view key = std::get<Index>(fieldsOf<T>).key;
            std::array<char, key.size() + 4> text{};
            text[0] = '"';
            std::ranges::copy(key, text.begin() + 1);
            std::ranges::copy(std::string_view("\": "), text.end() - 3);
            return text;
        }();
        constexpr std::size_t maxLength = 1 + maxIndent.size() + label.size();
        static_assert(maxLength <= Output::maxPiece);
        char* next = beginLine(m_out.room(maxLength), first);
        m_out.advance(std::ranges::copy(label, next).out);
        write(value);
    }

    template <Record T, std::size_t Index, typename Value> void writeField(bool& first, const std::optional<Value>& value)
    {
        if (value)
            writeField<T, Index>(first, *value);
    }

    void beginLine(bool& first) { m_out.advance(beginLine(m_out.room(1 + maxIndent.size()), first)); }

    char* beginLine(char* next, bool& first) const
    {
        if (!std::exchange(first, false))
            *next++ = ',';
        // Copies all of it: a copy of constant length is cheaper than one of the exact length.
        std::ranges::copy(maxIndent, next);
        return next + 1 + 2 * m_depth;
    }

    void endLines(char bracket)
    {
        m_out.put(maxIndent.substr(0, 1 + 2 * m_depth));
        m_out.put(bracket);
    }

    std::string_view writeNumber(auto value)
    {
        constexpr std::size_t maxLength = 32; // Enough for the shortest form of any number.
        char* digits = m_out.room(maxLength);
        const auto end = std::to_chars(digits, digits + maxLength, value).ptr;
        m_out.advance(end);
        return {digits, end};
    }

    void writeEscape(char c)
    {
        constexpr std::string_view letters = "btn.fr"; // From 0x08 on; 0x0B has none.
        const auto code = static_cast<unsigned char>(c);
        m_out.put('\\');
        if (code >= 0x20) {
            m_out.put(c);
        } else if (code >= 0x08 && code <= 0x0D && code != 0x0B) {
            m_out.put(letters[code - 0x08U]);
        } else {
            constexpr std::string_view digits = "0123456789ABCDEF";
            m_out.put("u00");
            m_out.put(digits[code >> 4]);
            m_out.put(digits[code & 0x0F]);
        }
    }

    static std::size_t characterLength(std::string_view text)
    {
        utf8proc_int32_t codePoint = 0;
        const auto length = utf8proc_iterate(
            reinterpret_cast<const utf8proc_uint8_t*>(text.data()), static_cast<utf8proc_ssize_t>(text.size()), &codePoint);
        if (length <= 0)
            throw DocumentError("No se puede guardar el proyecto: contiene un texto que no es UTF-8 válido.");
        return static_cast<std::size_t>(length);
    }

    static constexpr std::string_view maxIndent = "\n                "; ///< A line break and the maximum indentation.

    Output& m_out;
    std::size_t m_depth = 0;
};

/// The approximate length of the document, to allocate once.
std::size_t expectedLength(const VideoProject& project)
{
    const auto& edit = project.edit;
    return 2000 + edit.events.size() * 280 + edit.words.size() * 190 + edit.cuts.size() * 90 + edit.overlays.size() * 400
        + project.tracks.size() * 300;
}

} // namespace

std::string encodeDocument(const VideoProject& project)
{
    Output out(expectedLength(project));
    Writer(out).write(project);
    out.put('\n');
    return out.take();
}

std::string encodePointerEvent(const PointerEvent& event)
{
    constexpr std::size_t usualLength = 280;
    Output out(usualLength);
    Writer(out).write(event);
    // Values of an event contain no white space, so all of it is formatting.
    std::string line = out.take();
    std::erase_if(line, [](char c) { return c == '\n' || c == ' '; });
    return line;
}

} // namespace orvo
