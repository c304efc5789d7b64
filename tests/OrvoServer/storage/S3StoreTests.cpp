#include "OrvoServer/storage/S3Store.h"

#include "../S3Gateway.h"
#include "TestSupport/TemporaryFolder.h"
#include "VideoCore/FileIO.h"

#include <algorithm>
#include <gmock/gmock.h>
#include <random>

namespace orvo::test {
namespace {

namespace fs = std::filesystem;
using server::S3Store;
using server::StoreError;
using Kind = StoreError::Kind;

std::string randomBytes(std::size_t count)
{
    std::mt19937 random(7);
    std::string bytes(count, '\0');
    std::ranges::generate(bytes, [&] { return static_cast<char>(random()); });
    return bytes;
}

class S3StoreTests : public testing::Test {
protected:
    void SetUp() override
    {
        if (!S3Gateway::program())
            GTEST_SKIP() << "no S3 server is installed (versitygw)";
        service = std::make_unique<S3Gateway>(folder / "data");
        settings.endpoint = service->url();
        settings.bucket = "videos";
        settings.prefix = "orvo/";
        settings.accessKey = S3Gateway::accessKey;
        settings.secretKey = S3Gateway::secretKey;
        settings.partSize = std::uint64_t{5} << 20;
        S3Store store(settings); // Its retries wait until the server is up.
        store.remove("nothing", {});
    }

    std::string fetched(S3Store& store, const std::string& key)
    {
        store.fetch(key, folder / "fetched", {});
        return readFile(folder / "fetched");
    }

    static std::optional<Kind> failure(const std::function<void()>& call)
    {
        try {
            call();
        } catch (const StoreError& error) {
            return error.kind();
        }
        return std::nullopt;
    }

    TemporaryFolder folder;
    std::unique_ptr<S3Gateway> service;
    S3Store::Settings settings;
};

TEST_F(S3StoreTests, StoresFilesOfAnySize)
{
    S3Store store(settings);
    for (const std::size_t size : {std::size_t{0}, std::size_t{1}, std::size_t{100'000}, (std::size_t{11} << 20) + 5}) {
        const auto content = randomBytes(size);
        writeFileAtomically(folder / "source", content);
        store.put("ab/c-1_x", folder / "source", {});
        EXPECT_EQ(fetched(store, "ab/c-1_x"), content) << size;
    }
    EXPECT_TRUE(store.status().isReady);
    store.remove("ab/c-1_x", {});
    store.remove("ab/c-1_x", {});
    EXPECT_EQ(failure([&] { store.fetch("ab/c-1_x", folder / "none", {}); }), Kind::missing);
    EXPECT_FALSE(fs::exists(folder / "none"));
    EXPECT_TRUE(store.status().isReady) << "a missing file makes the store unready";
}

TEST_F(S3StoreTests, DistinguishesWrongKeysFromAnUnreachableServer)
{
    writeFileAtomically(folder / "source", "x");
    settings.pause = [](auto, const auto&) { };
    settings.secretKey = "otro";
    S3Store wrong(settings);
    EXPECT_EQ(failure([&] { wrong.put("a", folder / "source", {}); }), Kind::unauthorised);
    EXPECT_FALSE(wrong.status().isReady);
    service.reset();
    EXPECT_EQ(failure([&] { wrong.fetch("a", folder / "target", {}); }), Kind::passing);
    EXPECT_THAT(wrong.status().text, testing::HasSubstr("no responde"));
}

} // namespace
} // namespace orvo::test
