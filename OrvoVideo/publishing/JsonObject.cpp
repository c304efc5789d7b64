#include "OrvoVideo/publishing/JsonObject.h"

#include "VideoCore/Error.h"

#include <cmath>
#include <cstdlib>
#include <new>
#include <yyjson.h>

namespace orvo {

JsonObject::JsonObject(std::shared_ptr<yyjson_doc> document, yyjson_val* value)
    : m_document(std::move(document))
    , m_value(value)
{
}

std::optional<JsonObject> JsonObject::parse(std::string_view text)
{
    yyjson_doc* document = yyjson_read(text.data(), text.size(), 0);
    if (!document)
        return std::nullopt;
    // A lambda, because an always-inline function cannot be called through a pointer.
    const std::shared_ptr<yyjson_doc> shared(document, [](yyjson_doc* each) { yyjson_doc_free(each); });
    yyjson_val* root = yyjson_doc_get_root(document);
    if (!yyjson_is_obj(root))
        return std::nullopt;
    return JsonObject(shared, root);
}

yyjson_val* JsonObject::find(std::string_view key) const
{
    return m_value ? yyjson_obj_getn(m_value, key.data(), key.size()) : nullptr;
}

std::optional<std::string> JsonObject::text(std::string_view key) const
{
    yyjson_val* value = find(key);
    if (!yyjson_is_str(value))
        return std::nullopt;
    return std::string(yyjson_get_str(value), yyjson_get_len(value));
}

std::optional<bool> JsonObject::boolean(std::string_view key) const
{
    yyjson_val* value = find(key);
    return yyjson_is_bool(value) ? std::optional(yyjson_get_bool(value)) : std::nullopt;
}

std::optional<std::int64_t> JsonObject::integer(std::string_view key) const
{
    constexpr double limit = 9'007'199'254'740'992; // Above, doubles cannot represent every integer.
    yyjson_val* value = find(key);
    if (yyjson_is_real(value)) {
        const double number = yyjson_get_real(value);
        return std::abs(number) < limit && std::trunc(number) == number ? std::optional(static_cast<std::int64_t>(number))
                                                                        : std::nullopt;
    }
    if (yyjson_is_uint(value) && yyjson_get_uint(value) > static_cast<std::uint64_t>(INT64_MAX))
        return std::nullopt;
    return yyjson_is_int(value) ? std::optional(yyjson_get_sint(value)) : std::nullopt;
}

std::optional<std::vector<JsonObject>> JsonObject::objects(std::string_view key) const
{
    yyjson_val* list = find(key);
    if (!yyjson_is_arr(list))
        return std::nullopt;
    std::vector<JsonObject> result;
    result.reserve(yyjson_arr_size(list));
    yyjson_arr_iter iterator = yyjson_arr_iter_with(list);
    while (yyjson_val* item = yyjson_arr_iter_next(&iterator)) {
        if (!yyjson_is_obj(item))
            return std::nullopt;
        result.push_back(JsonObject(m_document, item));
    }
    return result;
}

void JsonBuilder::Free::operator()(yyjson_mut_doc* document) const
{
    yyjson_mut_doc_free(document);
}

JsonBuilder::JsonBuilder()
    : JsonBuilder(JsonObject())
{
}

JsonBuilder::JsonBuilder(const JsonObject& object)
    : m_document(yyjson_mut_doc_new(nullptr))
{
    if (!m_document)
        throw std::bad_alloc();
    m_root = object.m_value ? yyjson_val_mut_copy(m_document.get(), object.m_value) : yyjson_mut_obj(m_document.get());
    if (!m_root)
        throw std::bad_alloc();
    yyjson_mut_doc_set_root(m_document.get(), m_root);
    m_target = m_root;
}

yyjson_mut_val* JsonBuilder::copyOf(std::string_view text)
{
    return yyjson_mut_strncpy(m_document.get(), text.data(), text.size());
}

void JsonBuilder::put(std::string_view key, yyjson_mut_val* value)
{
    yyjson_mut_val* name = copyOf(key);
    if (!name || !value || !yyjson_mut_obj_put(m_target, name, value))
        throw std::bad_alloc();
}

JsonBuilder& JsonBuilder::set(std::string_view key, std::string_view value)
{
    put(key, copyOf(value));
    return *this;
}

JsonBuilder& JsonBuilder::set(std::string_view key, bool value)
{
    put(key, yyjson_mut_bool(m_document.get(), value));
    return *this;
}

JsonBuilder& JsonBuilder::set(std::string_view key, std::int64_t value)
{
    put(key, yyjson_mut_sint(m_document.get(), value));
    return *this;
}

JsonBuilder& JsonBuilder::set(std::string_view key, std::span<const std::string> values)
{
    yyjson_mut_val* list = yyjson_mut_arr(m_document.get());
    for (const auto& value : values)
        yyjson_mut_arr_append(list, copyOf(value));
    put(key, list);
    return *this;
}

JsonBuilder& JsonBuilder::beginItem(std::string_view key)
{
    yyjson_mut_val* list = yyjson_mut_obj_getn(m_root, key.data(), key.size());
    if (!list) {
        list = yyjson_mut_arr(m_document.get());
        put(key, list);
    }
    m_target = yyjson_mut_arr_add_obj(m_document.get(), list);
    if (!m_target)
        throw std::bad_alloc();
    return *this;
}

JsonBuilder& JsonBuilder::endItem()
{
    m_target = m_root;
    return *this;
}

std::string JsonBuilder::text() const
{
    std::size_t length = 0;
    yyjson_write_err error{};
    const std::unique_ptr<char, decltype(&std::free)> text(
        yyjson_mut_write_opts(m_document.get(), YYJSON_WRITE_NOFLAG, nullptr, &length, &error), &std::free);
    if (!text && error.code == YYJSON_WRITE_ERROR_MEMORY_ALLOCATION)
        throw std::bad_alloc();
    if (!text)
        throw captureError("Un texto que se iba a enviar no es UTF-8 válido.");
    return {text.get(), length};
}

} // namespace orvo
