#include "CliFixture.h"
#include "TestSupport/SmallDisk.h"

#include <gmock/gmock.h>

namespace orvo::test {

namespace {

using testing::ElementsAre;

class WriteFailure : public CliFixture { };

TEST_F(WriteFailure, LosesNothingOnAFullDisk)
{
    std::vector<TranscriptWord> words;
    for (int i = 0; i < 500; ++i)
        words.push_back(word("palabra", i * 0.01, i * 0.01 + 0.005));
    project.edit.words = SharedList(words);
    store.save(project);
    const std::string before = document();

    setup.maxFile = before.size() / 2;
    expectFailure({"cut", id, "1", "2"}, 1, "el archivo es demasiado grande");
    EXPECT_EQ(document(), before);
    EXPECT_THAT(namesIn(store.directory(project.id)), ElementsAre("media", "project.json"));
    setup.maxFile.reset();

    const SmallDisk disk(before.size() + 16'384);
    if (!disk)
        GTEST_SKIP() << "no permission to mount";
    const ProjectStore small(disk.path() / "library");
    small.create(project);
    setup.library = small.root();
    expectFailure({"cut", id, "1", "2"}, 1, "no queda espacio en el disco");
    EXPECT_EQ(readFile(small.directory(project.id) / "project.json"), before);
    EXPECT_THAT(namesIn(small.directory(project.id)), ElementsAre("media", "project.json"));
}

} // namespace

} // namespace orvo::test
