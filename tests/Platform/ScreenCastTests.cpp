#include "Platform/portal/ScreenCast.h"

#include "TestSupport/EventLoop.h"
#include "TestSupport/FakePortal.h"
#include "TestSupport/PrivateBus.h"

#include <array>
#include <gtest/gtest.h>
#include <sys/socket.h>
#include <unistd.h>

namespace orvo::test {

namespace {

class ScreenCastTests : public testing::Test {
protected:
    ScreenCastTests() { ::socketpair(AF_UNIX, SOCK_STREAM, 0, sockets.data()); }
    ~ScreenCastTests() override
    {
        for (const int socket : sockets)
            ::close(socket);
    }

    /// Opens a share and waits for the outcome.
    ScreenCast::Outcome open(ScreenCast& cast, ScreenCast::Kind kind, const QString& token = {})
    {
        std::optional<ScreenCast::Outcome> outcome;
        cast.open(kind, token, [&](ScreenCast::Outcome answer) { outcome = std::move(answer); });
        EXPECT_TRUE(comesToHold([&] { return outcome.has_value(); }));
        return outcome.value_or(ScreenCast::Outcome{});
    }

    std::unique_ptr<FakePortal> portal()
    {
        auto made = std::make_unique<FakePortal>(bus.address());
        made->remote = sockets[0];
        return made;
    }

    std::array<int, 2> sockets{};
    PrivateBus bus;
    QDBusConnection connection = QDBusConnection::connectToBus(bus.address(), "application " + bus.address());
};

TEST_F(ScreenCastTests, SharesTheChosenSource)
{
    const auto desktop = portal();
    ScreenCast cast(connection);
    const auto monitor = open(cast, ScreenCast::Kind::monitor);
    ASSERT_TRUE(monitor.stream);
    EXPECT_EQ(monitor.stream->node, 42U);
    EXPECT_EQ(monitor.stream->kind, ScreenCast::Kind::monitor);
    EXPECT_EQ(monitor.stream->rect, (Rect{0, 0, 1280, 720}));
    EXPECT_EQ(monitor.stream->restoreToken, "token-1");
    EXPECT_TRUE(monitor.stream->placed);
    EXPECT_TRUE(monitor.stream->tellsPointer);
    EXPECT_EQ(desktop->selection.value("types"), 1U);
    EXPECT_EQ(desktop->selection.value("cursor_mode"), 4U) << "the pointer as metadata";
    EXPECT_EQ(desktop->selection.value("persist_mode"), 2U);
    EXPECT_FALSE(desktop->selection.contains("restore_token"));
    EXPECT_EQ(::write(monitor.stream->remote, "x", 1), 1) << "the connection is open";
    char letter = 0;
    EXPECT_EQ(::read(sockets[1], &letter, 1), 1);

    desktop->sourceType = 2;
    desktop->rect = {};
    const auto window = open(cast, ScreenCast::Kind::window, "token-1");
    ASSERT_TRUE(window.stream);
    EXPECT_EQ(window.stream->kind, ScreenCast::Kind::window);
    EXPECT_EQ(desktop->selection.value("types"), 2U);
    EXPECT_EQ(desktop->selection.value("restore_token"), "token-1");
    EXPECT_EQ(desktop->openSessions.size(), 1) << "ends the earlier share";

    cast.close();
    EXPECT_TRUE(comesToHold([&] { return desktop->openSessions.isEmpty(); }));
    EXPECT_EQ(cast.stream(), std::nullopt);
}

TEST_F(ScreenCastTests, OmitsOptionsThatAnOldPortalLacks)
{
    const auto desktop = portal();
    desktop->version = 2;
    desktop->cursorModes = 3;
    ScreenCast cast(connection);
    const auto outcome = open(cast, ScreenCast::Kind::monitor, "token-1");
    ASSERT_TRUE(outcome.stream);
    EXPECT_EQ(desktop->selection.value("cursor_mode"), 1U) << "hidden";
    EXPECT_FALSE(desktop->selection.contains("persist_mode"));
    EXPECT_FALSE(desktop->selection.contains("restore_token"));
    EXPECT_FALSE(outcome.stream->tellsPointer);
    EXPECT_TRUE(outcome.stream->restoreToken.isEmpty());
}

TEST_F(ScreenCastTests, ReportsWhenThePortalExitsDuringTheChoice)
{
    auto desktop = portal();
    desktop->decision = FakePortal::Decision::wait;
    std::optional<ScreenCast::Outcome> outcome;
    ScreenCast cast(connection);
    cast.open(ScreenCast::Kind::monitor, {}, [&](ScreenCast::Outcome answer) { outcome = std::move(answer); });
    ASSERT_TRUE(comesToHold([&] { return desktop->waiting == 1; }));
    desktop.reset();
    ASSERT_TRUE(comesToHold([&] { return outcome.has_value(); }));
    EXPECT_EQ(outcome->error, ScreenCast::revokedText());

    desktop = portal();
    EXPECT_TRUE(open(cast, ScreenCast::Kind::monitor).stream) << "uses the next portal";
}

} // namespace

} // namespace orvo::test
