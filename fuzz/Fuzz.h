#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string_view>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

namespace orvo::fuzz {

/// Reports a finding and aborts unless `holds`.
inline void require(bool holds, std::string_view law)
{
    if (holds)
        return;
    std::fprintf(stderr, "Broken: %.*s\n", static_cast<int>(law.size()), law.data());
    std::abort();
}

/// The fuzzer's input as text.
inline std::string_view textOf(const std::uint8_t* data, std::size_t size)
{
    return {reinterpret_cast<const char*>(data), size};
}

} // namespace orvo::fuzz
