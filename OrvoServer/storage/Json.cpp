#include "OrvoServer/storage/Json.h"

#include <algorithm>
#include <charconv>
#include <cstdlib>
#include <yyjson.h>

namespace orvo::server {

Json::Json(std::string_view text)
    : m_document(yyjson_read(text.data(), text.size(), 0), &yyjson_doc_free)
{
}

yyjson_val* Json::at(std::string_view path) const
{
    yyjson_val* value = yyjson_doc_get_root(m_document.get());
    while (value && !path.empty()) {
        const auto dot = std::min(path.find('.'), path.size());
        const auto key = path.substr(0, dot);
        path.remove_prefix(std::min(dot + 1, path.size()));
        std::size_t index = 0;
        if (yyjson_is_arr(value) && std::from_chars(key.data(), key.data() + key.size(), index).ec == std::errc())
            value = yyjson_arr_get(value, index);
        else
            value = yyjson_obj_getn(value, key.data(), key.size());
    }
    return value;
}

std::string Json::text(std::string_view path) const
{
    yyjson_val* value = at(path);
    return yyjson_is_str(value) ? std::string(yyjson_get_str(value), yyjson_get_len(value)) : std::string();
}

std::optional<std::int64_t> Json::integer(std::string_view path) const
{
    yyjson_val* value = at(path);
    return yyjson_is_int(value) ? std::optional(yyjson_get_sint(value)) : std::nullopt;
}

std::string jsonString(std::string_view text)
{
    const std::unique_ptr<yyjson_mut_doc, decltype(&yyjson_mut_doc_free)> document(
        yyjson_mut_doc_new(nullptr), &yyjson_mut_doc_free);
    yyjson_mut_doc_set_root(document.get(), yyjson_mut_strn(document.get(), text.data(), text.size()));
    const std::unique_ptr<char, decltype(&std::free)> written(
        yyjson_mut_write(document.get(), YYJSON_WRITE_ALLOW_INVALID_UNICODE, nullptr), &std::free);
    return written ? written.get() : "\"\"";
}

std::string jsonObject(const std::vector<std::pair<std::string, std::string>>& members)
{
    std::string text = "{";
    for (const auto& [name, value] : members)
        text += (text.size() > 1 ? "," : "") + jsonString(name) + ":" + jsonString(value);
    return text + "}";
}

} // namespace orvo::server
