#include "CliTestSupport/JsonAnswer.h"

#include <stdexcept>
#include <yyjson.h>

namespace orvo::test {

namespace {

void require(bool condition, const std::string& message)
{
    if (!condition)
        throw std::runtime_error(message);
}

} // namespace

JsonAnswer::JsonAnswer(const std::string& text)
    : m_document(yyjson_read(text.data(), text.size(), 0), [](yyjson_doc* each) { yyjson_doc_free(each); })
    , m_value(yyjson_doc_get_root(m_document.get()))
{
    require(m_value, "not exactly one JSON value: " + text);
}

JsonAnswer::JsonAnswer(std::shared_ptr<yyjson_doc> document, yyjson_val* value)
    : m_document(std::move(document))
    , m_value(value)
{
}

JsonAnswer JsonAnswer::operator[](std::string_view key) const
{
    yyjson_val* value = yyjson_obj_getn(m_value, key.data(), key.size());
    require(value, "the answer has no " + std::string(key));
    return {m_document, value};
}

JsonAnswer JsonAnswer::operator[](std::size_t index) const
{
    yyjson_val* value = yyjson_arr_get(m_value, index);
    require(value, "the answer is not a list, or it is too short");
    return {m_document, value};
}

std::size_t JsonAnswer::size() const
{
    require(yyjson_is_arr(m_value), "the answer is not a list");
    return yyjson_arr_size(m_value);
}

bool JsonAnswer::has(std::string_view key) const
{
    return yyjson_obj_getn(m_value, key.data(), key.size()) != nullptr;
}

std::vector<std::string> JsonAnswer::keys() const
{
    std::vector<std::string> result;
    std::size_t index = 0;
    std::size_t count = 0;
    yyjson_val* key = nullptr;
    yyjson_val* value = nullptr;
    yyjson_obj_foreach(m_value, index, count, key, value)
    {
        result.emplace_back(yyjson_get_str(key));
    }
    return result;
}

std::string JsonAnswer::text() const
{
    require(yyjson_is_str(m_value), "the answer is not a string");
    return {yyjson_get_str(m_value), yyjson_get_len(m_value)};
}

double JsonAnswer::number() const
{
    require(yyjson_is_num(m_value), "the answer is not a number");
    return yyjson_get_num(m_value);
}

bool JsonAnswer::flag() const
{
    require(yyjson_is_bool(m_value), "the answer is not a Boolean");
    return yyjson_get_bool(m_value);
}

} // namespace orvo::test
