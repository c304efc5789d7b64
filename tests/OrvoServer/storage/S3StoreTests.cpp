#include "OrvoServer/storage/S3Store.h"

#include "../ServiceProcess.h"
#include "TestSupport/TemporaryFolder.h"
#include "VideoCore/FileIO.h"

#include <algorithm>
#include <arpa/inet.h>
#include <cstdlib>
#include <gmock/gmock.h>
#include <random>
#include <sys/socket.h>
#include <thread>

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

int freePort()
{
    const int socket = ::socket(AF_INET, SOCK_STREAM, 0);
    sockaddr_in address{.sin_family = AF_INET, .sin_port = 0, .sin_addr = {htonl(INADDR_LOOPBACK)}, .sin_zero = {}};
    socklen_t size = sizeof address;
    ::bind(socket, reinterpret_cast<sockaddr*>(&address), size);
    ::getsockname(socket, reinterpret_cast<sockaddr*>(&address), &size);
    ::close(socket);
    return ntohs(address.sin_port);
}

std::optional<std::string> gateway()
{
    for (const fs::path folder : {"/usr/local/bin", "/usr/bin"}) {
        if (fs::exists(folder / "versitygw"))
            return (folder / "versitygw").string();
    }
    return std::nullopt;
}

/// A real S3 server over a folder.
class S3StoreTests : public testing::Test {
protected:
    void SetUp() override
    {
        const auto program = gateway();
        if (!program)
            GTEST_SKIP() << "no S3 server is installed (versitygw)";
        fs::create_directories(folder / "data/videos");
        port = freePort();
        service = std::make_unique<ServiceProcess>(std::vector<std::string>{*program, "--access", "acceso", "--secret",
            "secreto", "--port", "127.0.0.1:" + std::to_string(port), "posix", (folder / "data").string()});
        settings.endpoint = "http://127.0.0.1:" + std::to_string(port);
        settings.bucket = "videos";
        settings.prefix = "orvo/";
        settings.accessKey = "acceso";
        settings.secretKey = "secreto";
        settings.partSize = std::uint64_t{5} << 20;
        S3Store store(settings); // Its own tries wait until the server is there.
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
    int port = 0;
    std::unique_ptr<ServiceProcess> service;
    S3Store::Settings settings;
};

TEST_F(S3StoreTests, KeepsFilesOfAnySize)
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
    EXPECT_TRUE(store.status().isReady) << "a missing file is no fault of the store";
}

TEST_F(S3StoreTests, TellsWrongKeysFromAServerThatIsAway)
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
