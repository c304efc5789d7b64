#include "TestSupport/Projects.h"
#include "TestSupport/TemporaryFolder.h"
#include "VideoCore/WordConfidence.h"

#include <fstream>
#include <gtest/gtest.h>
#include <vector>

namespace orvo::test {
namespace {

TEST(WordConfidence, FollowsWordsAndTheirTexts)
{
    const TemporaryFolder folder;
    EXPECT_TRUE(WordConfidence::read(folder.path()).empty()) << "there is no file";
    std::vector<TranscriptWord> words{word("seguro", 0, 1), word("dos palabras ¿sí?", 1, 2), word("ñu", 2, 3)};
    WordConfidence written;
    written.add(words, std::vector<float>{0.99F, 0.25F, 0.6F});
    written.write(folder.path());
    auto read = WordConfidence::read(folder.path());
    EXPECT_EQ(read.of(words[0]), 1);
    EXPECT_NEAR(read.of(words[1]), 0.25, 0.001);
    EXPECT_TRUE(read.isUnsure(words[1]));
    EXPECT_NEAR(read.of(words[2]), 0.6, 0.001);
    EXPECT_FALSE(read.isUnsure(words[2]));

    auto corrected = words[1];
    corrected.text = "otra";
    EXPECT_FALSE(read.isUnsure(corrected)) << "somebody has looked at it";
    EXPECT_FALSE(read.isUnsure(word("dos palabras ¿sí?", 1, 2))) << "another word";

    read.keepOnly(std::vector{words[2]});
    EXPECT_EQ(read.of(words[1]), 1);
    EXPECT_NEAR(read.of(words[2]), 0.6, 0.001);
}

TEST(WordConfidence, SkipsWhatIsDamaged)
{
    const TemporaryFolder folder;
    const auto id = Uuid::random().text();
    std::ofstream(folder.path() / WordConfidence::fileName) << "x 0.1 a\n"
                                                            << id << " nan a\n"
                                                            << id << " 7 a\n"
                                                            << id << " 0,2 a\n"
                                                            << id << "\n\n\xFF\x00\n"
                                                            << id.substr(1) << " 0.1 a";
    EXPECT_TRUE(WordConfidence::read(folder.path()).empty());
    std::filesystem::remove(folder.path() / WordConfidence::fileName);
    std::filesystem::create_directory(folder.path() / WordConfidence::fileName);
    EXPECT_TRUE(WordConfidence::read(folder.path()).empty());
}

} // namespace
} // namespace orvo::test
