#include "cli/JsonValue.h"

#include "VideoCore/Error.h"
#include "VideoCore/Utf8.h"

#include <cstdlib>
#include <memory>
#include <new>
#include <yyjson.h>

namespace orvo::cli {

namespace {

class Builder {
public:
    explicit Builder(yyjson_mut_doc* document)
        : m_document(document)
    {
    }

    yyjson_mut_val* build(const JsonValue& value) { return std::visit(*this, value.content()); }

    yyjson_mut_val* operator()(bool value) { return yyjson_mut_bool(m_document, value); }
    yyjson_mut_val* operator()(std::int64_t value) { return yyjson_mut_sint(m_document, value); }
    yyjson_mut_val* operator()(double value) { return yyjson_mut_real(m_document, value); }
    yyjson_mut_val* operator()(const std::string& value)
    {
        if (isUtf8(value))
            return yyjson_mut_strn(m_document, value.data(), value.size());
        const std::string valid = validUtf8(value);
        return yyjson_mut_strncpy(m_document, valid.data(), valid.size());
    }
    yyjson_mut_val* operator()(const JsonValue::Array& items)
    {
        yyjson_mut_val* array = yyjson_mut_arr(m_document);
        for (const auto& item : items)
            yyjson_mut_arr_append(array, build(item));
        return array;
    }
    yyjson_mut_val* operator()(const JsonValue::Object& members)
    {
        yyjson_mut_val* object = yyjson_mut_obj(m_document);
        for (const auto& [key, value] : members)
            yyjson_mut_obj_add(object, (*this)(key), build(value));
        return object;
    }

private:
    yyjson_mut_doc* m_document;
};

} // namespace

std::string JsonValue::text() const
{
    const std::unique_ptr<yyjson_mut_doc, decltype(&yyjson_mut_doc_free)> document(
        yyjson_mut_doc_new(nullptr), &yyjson_mut_doc_free);
    if (!document)
        throw std::bad_alloc();
    yyjson_mut_doc_set_root(document.get(), Builder(document.get()).build(*this));
    std::size_t length = 0;
    yyjson_write_err error{};
    const std::unique_ptr<char, decltype(&std::free)> text(
        yyjson_mut_write_opts(document.get(), YYJSON_WRITE_PRETTY_TWO_SPACES, nullptr, &length, &error), &std::free);
    if (!text && error.code == YYJSON_WRITE_ERROR_MEMORY_ALLOCATION)
        throw std::bad_alloc();
    if (!text)
        throw captureError("El resultado contiene un número que no es finito.");
    return std::string(text.get(), length) + "\n";
}

} // namespace orvo::cli
