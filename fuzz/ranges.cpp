#include "OrvoServer/http/Ranges.h"
#include "Fuzz.h"

#include <format>

// The Content-Range header of an upload and the Range header of a viewer.
int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    using namespace orvo;
    const auto text = fuzz::textOf(data, size);
    if (const auto range = server::parseContentRange(text)) {
        fuzz::require(
            range->bytes.first <= range->bytes.last && range->bytes.last < range->size, "a piece is within the whole");
        const auto again =
            server::parseContentRange(std::format("bytes {}-{}/{}", range->bytes.first, range->bytes.last, range->size));
        fuzz::require(again == range, "a piece reads back as itself");
    }
    for (const std::uint64_t length : {std::uint64_t{0}, std::uint64_t{1}, std::uint64_t{1000}, ~std::uint64_t{0}}) {
        const auto range = server::parseRange(text, length);
        if (const auto* bytes = std::get_if<server::ByteRange>(&range))
            fuzz::require(bytes->first <= bytes->last && bytes->last < length, "a range is within its file");
    }
    return 0;
}
