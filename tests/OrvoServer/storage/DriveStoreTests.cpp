#include "OrvoServer/storage/DriveStore.h"

#include "OrvoServer/base/Json.h"
#include "TestSupport/ChildProcess.h"
#include "TestSupport/TemporaryFolder.h"
#include "VideoCore/FileIO.h"

#include <algorithm>
#include <gmock/gmock.h>
#include <random>

namespace orvo::test {
namespace {

namespace fs = std::filesystem;
using server::DriveAuthorisation;
using server::DriveStore;
using server::FileSecrets;
using server::StoreError;
using Kind = StoreError::Kind;
using testing::HasSubstr;
using testing::Not;

/// A Drive and OAuth service, and a store that can be authorised for it.
class DriveStoreTests : public testing::Test {
protected:
    DriveStoreTests()
    {
        base = "http://127.0.0.1:" + service.readLine();
        drive.apiUrl = base + "/drive/v3";
        drive.uploadUrl = base + "/upload/drive/v3";
        drive.chunkSize = std::uint64_t{512} << 10;
        drive.callInterval = std::chrono::milliseconds(0);
        drive.pause = [this](std::chrono::milliseconds time, const std::stop_token&) { pauses.push_back(time); };
        authorisation = makeAuthorisation();
    }

    std::unique_ptr<DriveAuthorisation> makeAuthorisation()
    {
        return std::make_unique<DriveAuthorisation>(DriveAuthorisation::Settings{.tokenUrl = base + "/token",
                                                        .redirectUrl = "https://video.ejemplo.es/oauth/google/callback",
                                                        .now = [this] { return now; }},
            secrets);
    }

    /// The state of an authorisation address.
    static std::string stateOf(const std::string& address)
    {
        const auto begin = address.find("state=") + 6;
        return address.substr(begin, address.find('&', begin) - begin);
    }

    void authorise()
    {
        authorisation->configure("client", "secret");
        authorisation->finish("code-1", stateOf(authorisation->start()));
    }

    std::string ask(const std::string& path, const std::string& method = "GET", const std::string& body = {})
    {
        return server::Transfer().perform({.method = method, .url = base + path, .body = body}, {}).body;
    }
    /// The name of the service's file at this index; empty if there are fewer.
    std::string nameOf(std::size_t index)
    {
        return server::JsonDocument(ask("/state")).root().at(index)["name"].text().value_or("");
    }
    void setFaults(const std::string& json) { ask("/faults", "POST", json); }

    static std::string failure(const std::function<void()>& call, std::optional<Kind> kind = {})
    {
        try {
            call();
        } catch (const StoreError& error) {
            if (kind) {
                EXPECT_EQ(error.kind(), *kind) << error.what();
            }
            return error.what();
        }
        return {};
    }

    std::string content(std::size_t size) const
    {
        std::mt19937 random(3);
        std::string bytes(size, '\0');
        std::ranges::generate(bytes, [&] { return static_cast<char>(random()); });
        writeFileAtomically(folder / "source", bytes);
        return bytes;
    }
    std::string fetched(DriveStore& store, const std::string& key)
    {
        store.fetch(key, folder / "fetched", {});
        return readFile(folder / "fetched");
    }

    TemporaryFolder folder;
    FileSecrets secrets{folder.path()};
    ChildProcess service{boundToThisProcess({"python3", ORVO_DRIVE_SERVICE})};
    std::string base;
    std::chrono::system_clock::time_point now = std::chrono::system_clock::now();
    std::vector<std::chrono::milliseconds> pauses;
    DriveStore::Settings drive;
    std::unique_ptr<DriveAuthorisation> authorisation;
};

TEST_F(DriveStoreTests, AcceptsEachAuthorisationStartOnce)
{
    EXPECT_EQ(failure([&] { authorisation->start(); }, Kind::unauthorised), "Guarda primero el cliente OAuth.");
    authorisation->configure("client", "secret");
    const auto address = authorisation->start();
    for (const auto* part : {"client_id=client", "response_type=code", "access_type=offline", "prompt=consent",
             "scope=https%3A%2F%2Fwww.googleapis.com%2Fauth%2Fdrive.file", "code_challenge_method=S256",
             "redirect_uri=https%3A%2F%2Fvideo.ejemplo.es%2Foauth%2Fgoogle%2Fcallback"})
        EXPECT_THAT(address, HasSubstr(part));
    const auto late = "Esta autorización ya no vale. Empieza de nuevo con «Conectar Google Drive».";
    EXPECT_EQ(failure([&] { authorisation->finish("code-1", "forged"); }), late);
    const auto second = authorisation->start();
    EXPECT_EQ(failure([&] { authorisation->finish("code-1", stateOf(address)); }), late) << "a newer start replaces it";
    now += DriveAuthorisation::startLife + std::chrono::seconds(1);
    EXPECT_EQ(failure([&] { authorisation->finish("code-1", stateOf(second)); }), late);
    EXPECT_FALSE(authorisation->isAuthorised());

    const auto third = authorisation->start();
    authorisation = makeAuthorisation(); // The server restarts.
    authorisation->finish("code-1", stateOf(third));
    EXPECT_TRUE(authorisation->isAuthorised());
    EXPECT_EQ(failure([&] { authorisation->finish("code-1", stateOf(third)); }), late) << "a start is valid once";
    for (const auto& entry : fs::directory_iterator(folder.path())) {
        EXPECT_THAT(readFile(entry.path()), Not(HasSubstr("refresh-1")));
        EXPECT_EQ(fs::status(entry.path()).permissions() & (fs::perms::group_all | fs::perms::others_all), fs::perms::none);
    }

    authorisation->configure("other", "secret");
    EXPECT_FALSE(authorisation->isAuthorised()) << "a new client invalidates the permission";
}

TEST_F(DriveStoreTests, StoresPrivateFilesByKey)
{
    authorise();
    DriveStore store(drive, *authorisation);
    EXPECT_TRUE(store.status().isReady);
    for (const std::size_t size : {std::size_t{1}, std::size_t{512} << 10, (std::size_t{1} << 20) + 7}) {
        const auto bytes = content(size);
        store.put("ab/key", folder / "source", {});
        store.put("ab/key", folder / "source", {});
        EXPECT_EQ(fetched(store, "ab/key"), bytes) << size;
        DriveStore other(drive, *authorisation);
        EXPECT_EQ(fetched(other, "ab/key"), bytes) << "not found by another instance";
    }
    EXPECT_EQ(nameOf(1), "ab/key") << "expected a folder and one file";
    EXPECT_EQ(nameOf(2), "");
    store.remove("ab/key", {});
    store.remove("ab/key", {});
    failure([&] { fetched(store, "ab/key"); }, Kind::missing);
    EXPECT_FALSE(fs::exists(folder / "fetched"));
}

TEST_F(DriveStoreTests, RecoversFromTransientFaults)
{
    authorise();
    DriveStore store(drive, *authorisation);
    const auto bytes = content((std::size_t{2} << 20) + 3);
    const char* const cases[] = {
        R"([{"path":"/upload/","method":"PUT","do":"cut","times":2}])",
        R"([{"path":"/upload/","method":"PUT","status":503}])",
        R"([{"path":"/upload/","method":"PUT","status":404}])", // The service forgets the session.
        R"([{"path":"/upload/","method":"POST","status":500,"times":3}])",
        R"([{"path":"/drive/","status":403,"reason":"userRateLimitExceeded","times":2}])",
        R"([{"path":"/drive/","status":429,"times":2}])",
    };
    for (const auto* faults : cases) {
        setFaults(faults);
        store.put("key", folder / "source", {});
        setFaults("[]");
        EXPECT_EQ(fetched(store, "key"), bytes) << faults;
        store.remove("key", {});
    }
    EXPECT_THAT(pauses, Not(testing::IsEmpty()));
    // A token that expires early is renewed.
    ask("/forget-tokens");
    store.put("key", folder / "source", {});
    EXPECT_EQ(fetched(store, "key"), bytes);
}

TEST_F(DriveStoreTests, ReportsWhatTheAuthorMustDo)
{
    authorise();
    DriveStore store(drive, *authorisation);
    content(1000);
    const auto put = [&] { store.put("key", folder / "source", {}); };
    setFaults(R"([{"path":"/upload/","status":403,"reason":"storageQuotaExceeded"}])");
    EXPECT_THAT(failure(put, Kind::full), HasSubstr("Google Drive está lleno."));
    setFaults(R"([{"path":"/drive/","status":500,"times":100}])");
    EXPECT_THAT(failure(put, Kind::passing), HasSubstr("más tarde"));
    setFaults("[]");
    ask("/revoke", "POST");
    EXPECT_THAT(failure(put, Kind::unauthorised), HasSubstr("Conectar Google Drive"));
    EXPECT_FALSE(store.status().isReady);
    EXPECT_EQ(store.status().text, "Falta autorizar Google Drive.");
}

TEST_F(DriveStoreTests, SpacesCallsByTheInterval)
{
    authorise();
    drive.callInterval = std::chrono::hours(1); // Much longer than the calls themselves.
    std::chrono::milliseconds waited{};
    drive.pause = [&](std::chrono::milliseconds time, const std::stop_token&) { waited += time; };
    DriveStore store(drive, *authorisation);
    for (int i = 0; i < 5; ++i)
        store.remove("nothing", {});
    EXPECT_GE(waited, std::chrono::hours(1 + 2 + 3)) << "calls are not spaced";
}

} // namespace
} // namespace orvo::test
