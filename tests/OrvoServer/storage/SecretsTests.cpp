#include "OrvoServer/storage/Secrets.h"

#include "TestSupport/TemporaryFolder.h"
#include "VideoCore/Error.h"

#include <fstream>
#include <gtest/gtest.h>

namespace orvo::test {
namespace {

using server::SecretBox;

TEST(SecretsTests, OpensSealedTextOnlyUnderItsKeyAndName)
{
    const TemporaryFolder folder;
    const SecretBox box(folder / "a.key");
    const SecretBox other(folder / "b.key");
    const auto sealed = box.seal("name", "text");
    EXPECT_EQ(box.open("name", sealed), "text");
    EXPECT_EQ(box.open("name", box.seal("name", "")), "");
    EXPECT_NE(box.seal("name", "text"), sealed) << "the nonce is reused";
    EXPECT_EQ(box.open("other", sealed), std::nullopt);
    EXPECT_EQ(other.open("name", sealed), std::nullopt);
    for (std::size_t i = 0; i < sealed.size(); ++i) {
        auto damaged = sealed;
        damaged[i] = static_cast<char>(damaged[i] ^ 1);
        EXPECT_EQ(box.open("name", damaged), std::nullopt) << i;
    }
    EXPECT_EQ(box.open("name", sealed.substr(0, 20)), std::nullopt);
    std::ofstream(folder / "short.key") << "short";
    EXPECT_THROW(SecretBox(folder / "short.key"), Error);
}

} // namespace
} // namespace orvo::test
