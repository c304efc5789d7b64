#pragma once

#include <gtest/gtest.h>
#include <source_location>
#include <string_view>

namespace orvo::test {

/// Compares a text with the file `name` in the folder "golden" next to the calling test.
///
/// With ORVO_UPDATE_GOLDEN=1 in the environment, writes the file instead and succeeds; review the difference like any other
/// change. Use: `EXPECT_TRUE(matchesGolden("two-words.srt", text))`.
testing::AssertionResult matchesGolden(
    std::string_view name, std::string_view text, std::source_location caller = std::source_location::current());

} // namespace orvo::test
