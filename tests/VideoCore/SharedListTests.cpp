#include "VideoCore/SharedList.h"

#include <gmock/gmock.h>
#include <string>

namespace orvo {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

TEST(SharedList, SharesItsStorageUntilChanged)
{
    SharedList<std::string> first{"a", "b"};
    const SharedList<std::string> second = first;
    EXPECT_TRUE(first.sharesStorageWith(second));
    EXPECT_EQ(first, second);

    first.edit().push_back("c");
    EXPECT_THAT(first, ElementsAre("a", "b", "c"));
    EXPECT_THAT(second, ElementsAre("a", "b"));
    EXPECT_NE(first, second);

    const auto* storage = first.items().data();
    first.edit()[0] = "z";
    EXPECT_EQ(first.items().data(), storage) << "a list with one owner changes in place";

    first = second;
    EXPECT_TRUE(first.sharesStorageWith(second));
    const auto& alias = first;
    first = alias;
    EXPECT_THAT(first, ElementsAre("a", "b"));

    const auto taken = std::move(first);
    EXPECT_THAT(taken, ElementsAre("a", "b"));
    EXPECT_THAT(first, IsEmpty()); // NOLINT(bugprone-use-after-move): a moved-from list is empty
}

} // namespace
} // namespace orvo
