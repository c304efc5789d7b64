#include "VideoCore/Utf8.h"

#include <utf8proc.h>

namespace orvo {

CodePoint takeCodePoint(std::string_view& text)
{
    CodePoint first;
    const auto length = utf8proc_iterate(
        reinterpret_cast<const utf8proc_uint8_t*>(text.data()), static_cast<utf8proc_ssize_t>(text.size()), &first.value);
    if (length <= 0)
        first.value = -1;
    first.bytes = text.substr(0, length > 0 ? static_cast<std::size_t>(length) : 1);
    text.remove_prefix(first.bytes.size());
    return first;
}

bool isUtf8(std::string_view text)
{
    while (!text.empty()) {
        if (takeCodePoint(text).value < 0)
            return false;
    }
    return true;
}

std::string validUtf8(std::string_view text)
{
    std::string result;
    while (!text.empty()) {
        const CodePoint point = takeCodePoint(text);
        result += point.value < 0 ? replacementCharacter : point.bytes;
    }
    return result;
}

} // namespace orvo
