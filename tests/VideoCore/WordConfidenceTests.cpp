#include "TestSupport/TemporaryFolder.h"
#include "VideoCore/WordConfidence.h"

#include <fstream>
#include <gtest/gtest.h>

namespace orvo::test {
namespace {

TEST(WordConfidence, SkipsDamagedLinesAndFiles)
{
    const TemporaryFolder folder;
    const auto id = Uuid::random().text();
    std::ofstream(folder.path() / WordConfidence::fileName) << "x 0.1 a\n"
                                                            << id << " nan a\n"
                                                            << id << " 7 a\n"
                                                            << id << " 0,2 a\n"
                                                            << id << "\n\n\xFF" << '\0' << "\n"
                                                            << id.substr(1) << " 0.1 a";
    EXPECT_TRUE(WordConfidence::read(folder.path()).empty());
    std::filesystem::remove(folder.path() / WordConfidence::fileName);
    std::filesystem::create_directory(folder.path() / WordConfidence::fileName);
    EXPECT_TRUE(WordConfidence::read(folder.path()).empty());
}

} // namespace
} // namespace orvo::test
