#include "VideoCore/DocumentCodec.h"
#include "VideoCore/DocumentSchema.h"

#include <algorithm>
#include <array>
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
    std::string_view reason;

    void inside(std::string part)
    {
        if (!path.empty() && path.front() != '[')
            part += '.';
        path.insert(0, part);
    }
};

[[noreturn]] void mismatch(std::string_view reason)
{
    throw Mismatch{.path = {}, .reason = reason};
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

// Decoding, one overload for each type of field.

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
    const auto kind = parse(requireText(value));
    if (!kind)
        mismatch("el valor no es ninguno de los conocidos");
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
    try {
        yyjson_arr_foreach(value, index, count, item)
        {
            // The element's identifier is read next; a random one would be wasted.
            if constexpr (requires { T::id; })
                read(item, out.emplace_back(T{.id = {}}));
            else
                read(item, out.emplace_back());
        }
    } catch (Mismatch& error) {
        error.inside(std::format("[{}]", index));
        throw;
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
    std::size_t field = 0;
    std::size_t expected = 0; // Our own documents have their keys in the order of the table.
    std::size_t index = 0;
    std::size_t count = 0;
    yyjson_val* keyValue = nullptr;
    yyjson_val* item = nullptr;
    try {
        yyjson_obj_foreach(value, index, count, keyValue, item)
        {
            const auto key = textIn(keyValue);
            field = expected;
            if (field == Reader::count || Reader::keys[field] != key) {
                field = static_cast<std::size_t>(std::ranges::find(Reader::keys, key) - Reader::keys.begin());
                if (field == Reader::count)
                    continue;
            }
            expected = field + 1;
            if (std::exchange(seen[field], true))
                mismatch("está repetido");
            Reader::readers[field](item, out);
        }
        for (field = 0; field < Reader::count; ++field) {
            if (Reader::required[field] && !seen[field])
                mismatch("falta");
        }
    } catch (Mismatch& error) {
        error.inside(std::string(Reader::keys[field]));
        throw;
    }
}

} // namespace

DocumentError::DocumentError(const std::string& message)
    : Error("OrvoVideo.Document", 1, message)
{
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

namespace {

/// Reads one record from a text, which becomes working space.
template <Record T> T decodeRecord(std::string& text, yyjson_alc* allocator, std::string_view what)
{
    const std::size_t length = text.size();
    text.append(YYJSON_PADDING_SIZE, '\0');

    struct Free {
        void operator()(yyjson_doc* parsed) const { yyjson_doc_free(parsed); }
    };
    yyjson_read_err error{};
    const std::unique_ptr<yyjson_doc, Free> parsed(
        yyjson_read_opts(text.data(), length, YYJSON_READ_INSITU, allocator, &error));
    if (!parsed) {
        if (error.code == YYJSON_READ_ERROR_MEMORY_ALLOCATION)
            throw std::bad_alloc();
        throw DocumentError(std::format("{} está dañado: no es JSON válido (byte {}).", what, error.pos));
    }
    T record;
    try {
        read(yyjson_doc_get_root(parsed.get()), record);
    } catch (const Mismatch& problem) {
        throw DocumentError(problem.path.empty()
                ? std::format("{} está dañado: {}.", what, problem.reason)
                : std::format("{} está dañado: «{}»: {}.", what, problem.path, problem.reason));
    }
    return record;
}

} // namespace

VideoProject DocumentDecoder::decode(std::string& document)
{
    return decodeRecord<VideoProject>(document, m_memory->allocator, "El documento del proyecto");
}

VideoProject decodeDocument(std::string document)
{
    return DocumentDecoder().decode(document);
}

PointerEvent decodePointerEvent(std::string text)
{
    return decodeRecord<PointerEvent>(text, nullptr, "El registro del puntero");
}

} // namespace orvo
