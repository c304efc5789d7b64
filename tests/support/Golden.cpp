#include "TestSupport/Golden.h"

#include "VideoCore/FileIO.h"

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <string>

namespace orvo::test {

namespace fs = std::filesystem;

namespace {

std::string_view lineAt(std::string_view text, std::size_t position)
{
    const std::size_t before = position == 0 ? text.npos : text.rfind('\n', position - 1);
    const std::size_t begin = before == text.npos ? 0 : before + 1;
    return text.substr(begin, std::min(text.find('\n', position), text.size()) - begin);
}

} // namespace

testing::AssertionResult matchesGolden(std::string_view name, std::string_view text, std::source_location caller)
{
    const fs::path file = fs::path(caller.file_name()).parent_path() / "golden" / name;
    if (const char* update = std::getenv("ORVO_UPDATE_GOLDEN"); update && *update == '1') {
        fs::create_directories(file.parent_path());
        writeFileAtomically(file, text);
        return testing::AssertionSuccess();
    }
    if (!fs::exists(file))
        return testing::AssertionFailure() << file << " does not exist; ORVO_UPDATE_GOLDEN=1 creates it";
    const std::string expected = readFile(file);
    if (text == expected)
        return testing::AssertionSuccess();

    const auto position = static_cast<std::size_t>(std::ranges::mismatch(text, expected).in1 - text.begin());
    const auto line = std::ranges::count(text.substr(0, position), '\n') + 1;
    return testing::AssertionFailure() << file << " differs in line " << line
                                       << "\n  expected: " << lineAt(expected, position)
                                       << "\n  actual:   " << lineAt(text, position)
                                       << "\nIf the new text is right, ORVO_UPDATE_GOLDEN=1 takes it over.";
}

} // namespace orvo::test
