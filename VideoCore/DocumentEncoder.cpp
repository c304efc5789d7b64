#include "VideoCore/DocumentCodec.h"
#include "VideoCore/DocumentSchema.h"

#include <array>
#include <charconv>
#include <cmath>
#include <utf8proc.h>

namespace orvo {

namespace {

using schema::fieldsOf;
using schema::Record;

/// What a byte of a text needs: nothing, an escape sequence, or a look at the character it begins.
enum class Byte : std::uint8_t { plain, escaped, beyondAscii };

constexpr auto byteClasses = [] {
    std::array<Byte, 256> classes{};
    for (std::size_t i = 0; i < classes.size(); ++i)
        classes[i] = i >= 0x80 ? Byte::beyondAscii : i < 0x20 || i == '"' || i == '\\' ? Byte::escaped : Byte::plain;
    return classes;
}();

/// Writes straight into the text, without a tree in between: a long recording is saved after every pause in editing.
class Writer {
public:
    explicit Writer(std::string& out)
        : m_out(out)
    {
    }

    void write(bool value) { m_out += value ? "true" : "false"; }

    void write(std::int64_t value) { writeNumber(value); }

    void write(double value)
    {
        if (!std::isfinite(value))
            throw DocumentError("No se puede guardar el proyecto: contiene un número que no es finito.");
        const auto begin = m_out.size();
        writeNumber(value);
        if (m_out.find_first_of(".e", begin) == std::string::npos)
            m_out += ".0"; // Keeps the sign of zero, and says that it is no integer.
    }

    void write(std::string_view text)
    {
        m_out += '"';
        std::size_t done = 0;
        std::size_t position = 0;
        while (position < text.size()) {
            switch (byteClasses[static_cast<unsigned char>(text[position])]) {
            case Byte::plain:
                ++position;
                break;
            case Byte::escaped:
                m_out += text.substr(done, position - done);
                writeEscape(text[position++]);
                done = position;
                break;
            case Byte::beyondAscii:
                position += characterLength(text.substr(position));
                break;
            }
        }
        m_out += text.substr(done);
        m_out += '"';
    }

    void write(TrackKind kind) { write(textOf(kind)); }
    void write(PointerKind kind) { write(textOf(kind)); }
    void write(Overlay::Kind kind) { write(textOf(kind)); }
    void write(DateTime instant) { write(std::string_view(formatIso8601(instant))); }

    void write(const Uuid& id)
    {
        std::array<char, 38> quoted;
        quoted.front() = quoted.back() = '"';
        id.write(quoted.data() + 1);
        m_out.append(quoted.data(), quoted.size());
    }

    template <typename T> void write(const std::vector<T>& items)
    {
        if (items.empty()) {
            m_out += "[]";
            return;
        }
        m_out += '[';
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
        m_out += '{';
        ++m_depth;
        bool first = true;
        std::apply([&](const auto&... field) { (writeField(first, field.key, record.*field.member), ...); }, fieldsOf<T>);
        --m_depth;
        endLines('}');
    }

private:
    template <typename T> void writeField(bool& first, std::string_view key, const T& value)
    {
        beginLine(first);
        m_out += '"';
        m_out += key;
        m_out += "\": ";
        write(value);
    }

    template <typename T> void writeField(bool& first, std::string_view key, const std::optional<T>& value)
    {
        if (value)
            writeField(first, key, *value);
    }

    void beginLine(bool& first)
    {
        if (!std::exchange(first, false))
            m_out += ',';
        m_out += lineBreak();
    }

    void endLines(char bracket)
    {
        m_out += lineBreak();
        m_out += bracket;
    }

    std::string_view lineBreak() const
    {
        constexpr std::string_view deepest = "\n                ";
        return deepest.substr(0, 1 + 2 * m_depth);
    }

    void writeNumber(auto value)
    {
        std::array<char, 32> digits; // The shortest form of any number fits.
        const auto end = std::to_chars(digits.data(), digits.data() + digits.size(), value).ptr;
        m_out.append(digits.data(), end);
    }

    void writeEscape(char c)
    {
        constexpr std::string_view letters = "btn.fr"; // From 0x08 on; 0x0B has none.
        const auto code = static_cast<unsigned char>(c);
        m_out += '\\';
        if (code >= 0x20) {
            m_out += c;
        } else if (code >= 0x08 && code <= 0x0D && code != 0x0B) {
            m_out += letters[code - 0x08U];
        } else {
            constexpr std::string_view digits = "0123456789ABCDEF";
            m_out += "u00";
            m_out += digits[code >> 4];
            m_out += digits[code & 0x0F];
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

    std::string& m_out;
    std::size_t m_depth = 0;
};

/// About how long the document will be, so that its memory is taken once.
std::size_t expectedLength(const VideoProject& project)
{
    const auto& edit = project.edit;
    return 2000 + edit.events.size() * 280 + edit.words.size() * 190 + edit.cuts.size() * 90 + edit.overlays.size() * 400
        + project.tracks.size() * 300;
}

} // namespace

std::string encodeDocument(const VideoProject& project)
{
    std::string text;
    text.reserve(expectedLength(project));
    Writer(text).write(project);
    text += '\n';
    return text;
}

} // namespace orvo
