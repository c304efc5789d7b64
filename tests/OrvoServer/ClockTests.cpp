#include "OrvoServer/store/Catalogue.h"
#include "OrvoServer/store/Collection.h"
#include "ServerFixture.h"

namespace orvo::test {

namespace {

using namespace server;
using namespace std::chrono_literals;

constexpr std::int64_t hour = 3600;
constexpr std::int64_t day = 24 * hour;

TEST(SystemClock, NeverRunsBackwards)
{
    SystemClock::Reading reading{.wall = 1'000'000s, .monotonic = 50s};
    const SystemClock clock([&] { return reading; });
    const auto after = [&](std::chrono::seconds passed, std::chrono::seconds set) {
        reading.monotonic += passed;
        reading.wall += passed + set;
        return clock.now();
    };
    EXPECT_EQ(after(0s, 0s), 1'000'000);
    EXPECT_EQ(after(10s, -100s), 1'000'010) << "the clock is set back";
    EXPECT_EQ(after(80s, 0s), 1'000'090);
    EXPECT_EQ(after(20s, 0s), 1'000'110) << "the system's clock reaches the time before the jump";
    EXPECT_EQ(after(10s, 100s), 1'000'120) << "the clock is corrected";
    EXPECT_EQ(after(10s, 500s), 1'000'630) << "the clock is set forward";
}

/// A server that restarts after its clock was set back.
class ClockSetBack : public ServerFixture {
protected:
    ClockSetBack()
    {
        clock = &time;
        start();
    }
    void setTo(std::int64_t moment)
    {
        stop();
        time.time = moment;
        start();
    }
    Reply renew(const std::string& grant) const
    {
        return ask(port(), "POST", "/renew", {}, JsonWriter().open('{').member("grant", grant).close('}').take());
    }
    std::string session() const
    {
        const auto reply = ask(port(), "POST", "/admin/session", {}, std::format(R"({{"token":"{}"}})", credential));
        const std::string header = reply.header("Set-Cookie");
        return header.substr(0, header.find(';'));
    }
    unsigned statusOf(const std::string& session) const
    {
        return ask(port(), "GET", "/admin/data/health", {{"Cookie", session}}).status;
    }
};

TEST_F(ClockSetBack, ExtendsNeitherTicketsNorSessions)
{
    publish(lesson(), "[]", true);
    const auto config = playerConfig(page("watch"));
    const JsonDocument document(config);
    const std::string place = document.root()["media"].text().value_or("");
    const std::string grant = document.root()["grant"].text().value_or("");
    const std::string signedIn = session();
    EXPECT_EQ(ask(port(), "GET", place + "key.bin").status, 200U);
    EXPECT_EQ(renew(grant).status, 200U);
    EXPECT_EQ(statusOf(signedIn), 200U);
    // Accepts tokens of instances whose clocks are some seconds ahead.
    setTo(time.time - 5);
    EXPECT_EQ(ask(port(), "GET", place + "key.bin").status, 200U);
    EXPECT_EQ(statusOf(signedIn), 200U);
    setTo(time.time - 365 * day);
    EXPECT_EQ(ask(port(), "GET", place + "key.bin").status, 403U);
    EXPECT_EQ(renew(grant).status, 403U);
    EXPECT_EQ(statusOf(signedIn), 401U);
    // New tokens are valid.
    EXPECT_EQ(ask(port(), "GET", media("watch", "document") + "key.bin").status, 200U);
    EXPECT_EQ(statusOf(session()), 200U);
}

TEST_F(ClockSetBack, LocksNobodyOut)
{
    const auto guess = [&] { return ask(port(), "GET", "/api/status", {{"Authorization", "Bearer wrong"}}).status; };
    EXPECT_EQ(guess(), 401U);
    time.time -= 365 * day;
    EXPECT_EQ(guess(), 401U);
    EXPECT_EQ(api("GET", "status").status, 200U);
    for (int i = 0; i < 20; ++i)
        guess();
    EXPECT_EQ(guess(), 429U);
    EXPECT_EQ(api("GET", "status").status, 200U);
    time.time += 60;
    EXPECT_EQ(guess(), 401U);
}

TEST_F(ClockSetBack, ContinuesUploads)
{
    EXPECT_EQ(api("POST", "videos", announcement("T", "[]", true)).status, 200U);
    const auto files = lesson();
    const auto revision = registered(files);
    const auto& segment = files.at("hls/480/00000.ts");
    const auto& upload = revision.uploads.at("hls/480/00000.ts");
    EXPECT_EQ(put(upload, segment.substr(0, 5), 0, segment.size()).status, 200U);
    setTo(time.time - 365 * day);
    EXPECT_EQ(offset(upload), 5U);
    this->upload(revision, files);
    EXPECT_EQ(api("POST", std::format("revisions/{}/publish", revision.id)).status, 200U);
}

TEST(Collection, WaitsADayAfterAClockJump)
{
    const TemporaryFolder folder;
    const DataFolder data(folder / "data");
    data.init({.address = "https://a.es"});
    const auto database = data.openDatabase(data.configuration());
    SetClock clock;
    Catalogue catalogue(*database, clock);
    Collection collection(*database, clock, Retention{});
    const std::string video = "0d8c5b6e-7f00-4a52-9d5e-1f2a3b4c5d6e";
    catalogue.announce(video, "T", {});
    const std::vector<AnnouncedFile> files{
        {.path = "hls/a.ts", .role = "stream", .size = 5, .sha256 = std::string(64, 'a')}};
    const auto revision = catalogue.registerRevision(video, files).value().id;
    const auto forgets = [&] { return !collection.isHeld() && !collection.forgetOld().empty(); };
    EXPECT_FALSE(forgets());
    // Wrong by a year, corrected within the day.
    clock.time += 365 * day;
    EXPECT_FALSE(forgets());
    clock.time += 20 * hour;
    EXPECT_FALSE(forgets());
    clock.time -= 365 * day;
    EXPECT_FALSE(forgets());
    for (int step = 0; step < 40 * 4; ++step, clock.time += 6 * hour)
        EXPECT_FALSE(forgets()) << step;
    EXPECT_TRUE(catalogue.filesOf(revision));
    // The six weeks have passed.
    for (int step = 0; step < 4 * 4 && catalogue.filesOf(revision); ++step, clock.time += 6 * hour)
        forgets();
    EXPECT_FALSE(catalogue.filesOf(revision));
    // A backup suspends removal, too.
    EXPECT_FALSE(collection.isHeld());
    collection.hold(clock.time + hour);
    EXPECT_TRUE(collection.isHeld());
    clock.time += hour;
    EXPECT_FALSE(collection.isHeld());
}

} // namespace

} // namespace orvo::test
