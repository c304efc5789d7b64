#include "VideoCore/SharedList.h"

#include <gmock/gmock.h>
#include <stdexcept>
#include <string>

namespace orvo {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

/// Throws when it is copied for the second time.
struct Fragile {
    Fragile() = default;
    Fragile(const Fragile& other)
        : copies(other.copies + 1)
    {
        if (copies > 1)
            throw std::runtime_error("copied twice");
    }
    Fragile& operator=(const Fragile&) = default;
    int copies = 0;
};

TEST(SharedList, isSharedUntilChanged)
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
    EXPECT_EQ(first.items().data(), storage) << "a list of one owner is changed in place";

    first = second;
    EXPECT_TRUE(first.sharesStorageWith(second));
    const auto& alias = first;
    first = alias;
    EXPECT_THAT(first, ElementsAre("a", "b"));

    const auto taken = std::move(first);
    EXPECT_THAT(taken, ElementsAre("a", "b"));
    EXPECT_THAT(first, IsEmpty()); // NOLINT(bugprone-use-after-move): a list that was moved from is empty
}

TEST(SharedList, isEqualByItsItems)
{
    const SharedList<int> none;
    SharedList<int> emptied{1};
    emptied.edit().clear();
    EXPECT_EQ(none, emptied);
    EXPECT_EQ(none, SharedList<int>(std::vector<int>{}));
    EXPECT_EQ((SharedList<int>{1, 2}), SharedList(std::vector{1, 2}));
    EXPECT_NE((SharedList<int>{1, 2}), (SharedList<int>{2, 1}));
    EXPECT_NE((SharedList<int>{1, 2}), none);
}

TEST(SharedList, staysWholeWhenACopyFails)
{
    SharedList<Fragile> first(std::vector<Fragile>(1));
    first.edit()[0].copies = 1;
    const auto second = first;
    EXPECT_THROW(first.edit(), std::runtime_error);
    EXPECT_TRUE(first.sharesStorageWith(second));
    EXPECT_EQ(first.size(), 1U);
}

} // namespace
} // namespace orvo
