#include "OrvoServer/base/Json.h"

#include <utf8proc.h>
#include <yyjson.h>

#include <charconv>
#include <cmath>
#include <format>

namespace orvo::server {

bool JsonValue::isObject() const
{
    return yyjson_is_obj(m_value);
}

bool JsonValue::isArray() const
{
    return yyjson_is_arr(m_value);
}

JsonValue JsonValue::operator[](std::string_view key) const
{
    return JsonValue(yyjson_obj_getn(m_value, key.data(), key.size()));
}

JsonValue JsonValue::at(std::size_t index) const
{
    return JsonValue(yyjson_arr_get(m_value, index));
}

std::optional<std::string> JsonValue::text() const
{
    if (!yyjson_is_str(m_value))
        return std::nullopt;
    return std::string(yyjson_get_str(m_value), yyjson_get_len(m_value));
}

std::optional<bool> JsonValue::boolean() const
{
    if (!yyjson_is_bool(m_value))
        return std::nullopt;
    return yyjson_get_bool(m_value);
}

std::optional<std::uint64_t> JsonValue::number() const
{
    if (!yyjson_is_uint(m_value))
        return std::nullopt;
    return yyjson_get_uint(m_value);
}

void JsonValue::forEach(const std::function<void(JsonValue)>& visit) const
{
    std::size_t index = 0;
    std::size_t count = 0;
    yyjson_val* element = nullptr;
    yyjson_arr_foreach(m_value, index, count, element) visit(JsonValue(element));
}

std::optional<std::vector<std::string>> JsonValue::texts() const
{
    if (!isArray())
        return std::nullopt;
    std::vector<std::string> texts;
    bool areTexts = true;
    forEach([&](JsonValue element) {
        auto text = element.text();
        areTexts = areTexts && text;
        texts.push_back(std::move(text).value_or(""));
    });
    if (!areTexts)
        return std::nullopt;
    return texts;
}

JsonDocument::JsonDocument(std::string_view text)
    : m_document(yyjson_read(text.data(), text.size(), YYJSON_READ_NOFLAG))
{
}

JsonDocument::~JsonDocument()
{
    yyjson_doc_free(m_document);
}

JsonValue JsonDocument::root() const
{
    return JsonValue(yyjson_doc_get_root(m_document));
}

namespace {

/// The length of the valid UTF-8 sequence at the start of `text`; 0 for none.
std::size_t sequenceLength(std::string_view text)
{
    utf8proc_int32_t point = 0;
    const auto length = utf8proc_iterate(
        reinterpret_cast<const utf8proc_uint8_t*>(text.data()), static_cast<utf8proc_ssize_t>(text.size()), &point);
    return length > 0 ? static_cast<std::size_t>(length) : 0;
}

void appendText(std::string& out, std::string_view text)
{
    out += '"';
    while (!text.empty()) {
        const std::size_t length = sequenceLength(text);
        const char c = text.front();
        if (length == 0)
            out += "\xEF\xBF\xBD";
        else if (c == '"' || c == '\\')
            out.append({'\\', c});
        else if (static_cast<unsigned char>(c) < 0x20)
            out += std::format("\\u{:04x}", static_cast<unsigned>(c));
        else
            out.append(text.substr(0, length));
        text.remove_prefix(std::max<std::size_t>(length, 1));
    }
    out += '"';
}

} // namespace

void JsonWriter::separate()
{
    if (!m_text.empty() && !std::string_view("{[:").contains(m_text.back()))
        m_text += ',';
}

JsonWriter& JsonWriter::open(char bracket)
{
    separate();
    m_text += bracket;
    return *this;
}

JsonWriter& JsonWriter::close(char bracket)
{
    m_text += bracket;
    return *this;
}

JsonWriter& JsonWriter::key(std::string_view name)
{
    separate();
    appendText(m_text, name);
    m_text += ':';
    return *this;
}

JsonWriter& JsonWriter::value(std::string_view text)
{
    separate();
    appendText(m_text, text);
    return *this;
}

JsonWriter& JsonWriter::value(bool value)
{
    separate();
    m_text += value ? "true" : "false";
    return *this;
}

JsonWriter& JsonWriter::value(std::uint64_t value)
{
    separate();
    m_text += std::to_string(value);
    return *this;
}

JsonWriter& JsonWriter::value(std::int64_t value)
{
    separate();
    m_text += std::to_string(value);
    return *this;
}

JsonWriter& JsonWriter::value(double value)
{
    if (!std::isfinite(value))
        return null();
    separate();
    m_text += std::format("{}", value);
    return *this;
}

JsonWriter& JsonWriter::null()
{
    separate();
    m_text += "null";
    return *this;
}

JsonWriter& JsonWriter::value(const std::vector<std::string>& texts)
{
    open('[');
    for (const auto& text : texts)
        value(text);
    return close(']');
}

std::string errorJson(std::string_view text)
{
    return JsonWriter().open('{').member("error", text).close('}').take();
}

std::string listJson(const std::vector<std::string>& texts)
{
    return JsonWriter().value(texts).take();
}

std::vector<std::string> listFromJson(std::string_view json)
{
    return JsonDocument(json).root().texts().value_or(std::vector<std::string>());
}

} // namespace orvo::server
