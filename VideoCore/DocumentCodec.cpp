#include "VideoCore/DocumentCodec.h"

#include "VideoCore/DocumentSchema.h"

#include <algorithm>
#include <array>
#include <cstdlib>
#include <format>
#include <string_view>
#include <type_traits>
#include <yyjson.h>

namespace orvo {

namespace {

using schema::fieldCount;
using schema::fieldsOf;
using schema::Record;

/// A value that cannot be read. Each enclosing value adds its part of the path on the way out.
struct Mismatch {
    std::string path;
    std::string reason;
};

[[noreturn]] void mismatch(std::string reason)
{
    throw Mismatch{.path = {}, .reason = std::move(reason)};
}

std::string_view textIn(yyjson_val* value)
{
    return {unsafe_yyjson_get_str(value), unsafe_yyjson_get_len(value)};
}

std::string_view requireText(yyjson_val* value)
{
    if (!unsafe_yyjson_is_str(value))
        mismatch("se esperaba un texto");
    return textIn(value);
}

// Reading, one overload for each type of field.

void read(yyjson_val* value, double& out)
{
    if (!unsafe_yyjson_is_num(value))
        mismatch("se esperaba un número");
    out = unsafe_yyjson_get_num(value);
}

void read(yyjson_val* value, std::int64_t& out)
{
    if (unsafe_yyjson_is_uint(value) && unsafe_yyjson_get_uint(value) <= INT64_MAX)
        out = static_cast<std::int64_t>(unsafe_yyjson_get_uint(value));
    else if (unsafe_yyjson_is_sint(value))
        out = unsafe_yyjson_get_sint(value);
    else
        mismatch("se esperaba un número entero");
}

void read(yyjson_val* value, bool& out)
{
    if (!unsafe_yyjson_is_bool(value))
        mismatch("se esperaba verdadero o falso");
    out = unsafe_yyjson_get_bool(value);
}

void read(yyjson_val* value, std::string& out)
{
    out = requireText(value);
}

void read(yyjson_val* value, Uuid& out)
{
    const auto id = Uuid::parse(requireText(value));
    if (!id)
        mismatch("no es un identificador UUID");
    out = *id;
}

void read(yyjson_val* value, DateTime& out)
{
    const auto instant = parseIso8601(requireText(value));
    if (!instant)
        mismatch("no es una fecha ISO 8601 en UTC con segundos enteros");
    out = *instant;
}

template <typename Kind> void readKind(yyjson_val* value, Kind& out, std::optional<Kind> (*parse)(std::string_view))
{
    const auto text = requireText(value);
    const auto kind = parse(text);
    if (!kind)
        mismatch(std::format("valor desconocido «{}»", text));
    out = *kind;
}

void read(yyjson_val* value, TrackKind& out)
{
    readKind(value, out, parseTrackKind);
}

void read(yyjson_val* value, PointerKind& out)
{
    readKind(value, out, parsePointerKind);
}

void read(yyjson_val* value, Overlay::Kind& out)
{
    readKind(value, out, parseOverlayKind);
}

template <Record T> void read(yyjson_val* value, T& out);

template <typename T> void read(yyjson_val* value, std::vector<T>& out)
{
    if (!unsafe_yyjson_is_arr(value))
        mismatch("se esperaba una lista");
    out.clear();
    out.reserve(unsafe_yyjson_get_len(value));
    std::size_t index = 0;
    std::size_t count = 0;
    yyjson_val* item = nullptr;
    yyjson_arr_foreach(value, index, count, item)
    {
        try {
            // An element's own identifier is about to be read: making a random one here would be wasted.
            if constexpr (requires { T::id; })
                read(item, out.emplace_back(T{.id = {}}));
            else
                read(item, out.emplace_back());
        } catch (Mismatch& error) {
            error.path.insert(0, std::format("[{}]", index));
            throw;
        }
    }
}

template <typename T> void read(yyjson_val* value, SharedList<T>& out)
{
    std::vector<T> items;
    read(value, items);
    out = SharedList<T>(std::move(items));
}

template <typename T> void read(yyjson_val* value, std::optional<T>& out)
{
    if (unsafe_yyjson_is_null(value))
        out.reset();
    else
        read(value, out.emplace());
}

template <typename T> inline constexpr bool isOptional = false;
template <typename T> inline constexpr bool isOptional<std::optional<T>> = true;

template <Record T> struct RecordReader {
    static constexpr std::size_t count = fieldCount<T>;

    template <std::size_t I> static void readField(yyjson_val* value, T& out)
    {
        read(value, out.*std::get<I>(fieldsOf<T>).member);
    }

    static constexpr auto keys = []<std::size_t... I>(std::index_sequence<I...>) {
        return std::array{std::get<I>(fieldsOf<T>).key...};
    }(std::make_index_sequence<count>());

    static constexpr auto readers = []<std::size_t... I>(std::index_sequence<I...>) { return std::array{&readField<I>...}; }(
                                        std::make_index_sequence<count>());

    static constexpr auto required = []<std::size_t... I>(std::index_sequence<I...>) {
        return std::array{!isOptional<std::remove_cvref_t<decltype(std::declval<T>().*std::get<I>(fieldsOf<T>).member)>>...};
    }(std::make_index_sequence<count>());

    static_assert(std::ranges::is_sorted(keys), "keys are written in sorted order");
};

template <Record T> void read(yyjson_val* value, T& out)
{
    using Reader = RecordReader<T>;
    if (!unsafe_yyjson_is_obj(value))
        mismatch("se esperaba un objeto");

    std::array<bool, Reader::count> seen{};
    std::size_t expected = 0; // Documents written here have their keys in the order of the table.
    std::size_t index = 0;
    std::size_t count = 0;
    yyjson_val* keyValue = nullptr;
    yyjson_val* item = nullptr;
    yyjson_obj_foreach(value, index, count, keyValue, item)
    {
        const auto key = textIn(keyValue);
        std::size_t field = expected;
        if (field == Reader::count || Reader::keys[field] != key) {
            field = static_cast<std::size_t>(std::ranges::find(Reader::keys, key) - Reader::keys.begin());
            if (field == Reader::count)
                continue;
        }
        expected = field + 1;
        try {
            if (std::exchange(seen[field], true))
                mismatch("está repetido");
            Reader::readers[field](item, out);
        } catch (Mismatch& error) {
            const bool list = error.path.starts_with('[');
            error.path.insert(0, std::format("{}{}", key, error.path.empty() || list ? "" : "."));
            throw;
        }
    }
    for (std::size_t i = 0; i < Reader::count; ++i) {
        if (Reader::required[i] && !seen[i])
            throw Mismatch{.path = std::string(Reader::keys[i]), .reason = "falta"};
    }
}

// Writing, one overload for each type of field.

class Writer {
public:
    Writer()
        : m_document(yyjson_mut_doc_new(nullptr))
    {
        if (!m_document)
            throw std::bad_alloc();
    }
    ~Writer() { yyjson_mut_doc_free(m_document); }
    Writer(const Writer&) = delete;
    Writer& operator=(const Writer&) = delete;

    std::string text(const VideoProject& project)
    {
        yyjson_mut_doc_set_root(m_document, write(project));
        yyjson_write_err error{};
        std::size_t length = 0;
        char* text = yyjson_mut_write_opts(
            m_document, YYJSON_WRITE_PRETTY_TWO_SPACES | YYJSON_WRITE_NEWLINE_AT_END, nullptr, &length, &error);
        if (!text) {
            if (error.code == YYJSON_WRITE_ERROR_MEMORY_ALLOCATION)
                throw std::bad_alloc();
            throw DocumentError(error.code == YYJSON_WRITE_ERROR_NAN_OR_INF
                    ? "No se puede guardar el proyecto: contiene un número que no es finito."
                    : "No se puede guardar el proyecto: contiene un texto que no es UTF-8 válido.");
        }
        const std::unique_ptr<char, decltype(&std::free)> owner(text, &std::free);
        return {text, length};
    }

private:
    using Value = yyjson_mut_val*;

    static Value checked(Value value)
    {
        if (!value)
            throw std::bad_alloc();
        return value;
    }

    Value text(std::string_view value) { return checked(yyjson_mut_strn(m_document, value.data(), value.size())); }

    Value write(double value) { return checked(yyjson_mut_real(m_document, value)); }
    Value write(std::int64_t value) { return checked(yyjson_mut_sint(m_document, value)); }
    Value write(bool value) { return checked(yyjson_mut_bool(m_document, value)); }
    Value write(const std::string& value) { return text(value); }
    Value write(TrackKind value) { return text(textOf(value)); }
    Value write(PointerKind value) { return text(textOf(value)); }
    Value write(Overlay::Kind value) { return text(textOf(value)); }
    Value write(DateTime value)
    {
        const auto iso = formatIso8601(value);
        return checked(yyjson_mut_strncpy(m_document, iso.data(), iso.size()));
    }
    Value write(const Uuid& value)
    {
        std::array<char, 36> buffer{};
        value.write(buffer.data());
        return checked(yyjson_mut_strncpy(m_document, buffer.data(), buffer.size()));
    }

    template <typename T> Value write(const std::vector<T>& items)
    {
        const Value array = checked(yyjson_mut_arr(m_document));
        for (const auto& item : items)
            yyjson_mut_arr_append(array, write(item));
        return array;
    }

    template <typename T> Value write(const SharedList<T>& list) { return write(list.items()); }

    template <Record T> Value write(const T& record)
    {
        const Value object = checked(yyjson_mut_obj(m_document));
        std::apply([&](const auto&... field) { (add(object, field.key, record.*field.member), ...); }, fieldsOf<T>);
        return object;
    }

    template <typename T> void add(Value object, std::string_view key, const T& value)
    {
        yyjson_mut_obj_add(object, text(key), write(value));
    }

    template <typename T> void add(Value object, std::string_view key, const std::optional<T>& value)
    {
        if (value)
            add(object, key, *value);
    }

    yyjson_mut_doc* m_document;
};

} // namespace

DocumentError::DocumentError(const std::string& message)
    : Error("OrvoVideo.Document", 1, message)
{
}

std::string encodeDocument(const VideoProject& project)
{
    return Writer().text(project);
}

struct DocumentDecoder::Memory {
    Memory()
        : allocator(yyjson_alc_dyn_new())
    {
        if (!allocator)
            throw std::bad_alloc();
    }
    ~Memory() { yyjson_alc_dyn_free(allocator); }
    Memory(const Memory&) = delete;
    Memory& operator=(const Memory&) = delete;

    yyjson_alc* allocator;
};

DocumentDecoder::DocumentDecoder()
    : m_memory(std::make_unique<Memory>())
{
}

DocumentDecoder::~DocumentDecoder() = default;

VideoProject DocumentDecoder::decode(std::string& document)
{
    const std::size_t length = document.size();
    document.append(YYJSON_PADDING_SIZE, '\0');

    struct Free {
        void operator()(yyjson_doc* parsed) const { yyjson_doc_free(parsed); }
    };
    yyjson_read_err error{};
    const std::unique_ptr<yyjson_doc, Free> parsed(
        yyjson_read_opts(document.data(), length, YYJSON_READ_INSITU, m_memory->allocator, &error));
    if (!parsed) {
        if (error.code == YYJSON_READ_ERROR_MEMORY_ALLOCATION)
            throw std::bad_alloc();
        throw DocumentError(std::format("El documento del proyecto está dañado: no es JSON válido (byte {}).", error.pos));
    }
    VideoProject project;
    try {
        read(yyjson_doc_get_root(parsed.get()), project);
    } catch (const Mismatch& problem) {
        throw DocumentError(problem.path.empty()
                ? std::format("El documento del proyecto está dañado: {}.", problem.reason)
                : std::format("El documento del proyecto está dañado: «{}» {}.", problem.path, problem.reason));
    }
    return project;
}

VideoProject decodeDocument(std::string document)
{
    return DocumentDecoder().decode(document);
}

} // namespace orvo
