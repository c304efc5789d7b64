#include "Platform/keychain/Keychain.h"
#include "PromptingKeyring.h"
#include "TestSupport/Failure.h"
#include "TestSupport/Keyring.h"
#include "TestSupport/Waiting.h"

#include <cstdlib>
#include <format>
#include <gmock/gmock.h>
#include <thread>

namespace orvo::test {

namespace {

using Keychain::Interaction;
using testing::MatchesRegex;

std::string loaded(Interaction interaction = Interaction::forbidden, const std::string& account = "adminToken")
{
    std::string secret;
    const std::string failure = failureOf([&] { secret = Keychain::load(account, interaction); });
    return failure.empty() ? secret : failure;
}

std::string saved(const std::string& value)
{
    return failureOf([&] { Keychain::save(value, "adminToken"); });
}

std::string notRead(int status)
{
    return std::format(
        "No se ha podido leer la credencial. Desbloquea el llavero Inicio de sesión y pulsa Leer del llavero ({}).", status);
}

std::string notSaved(int status)
{
    return std::format("El llavero no ha permitido guardar la credencial ({}).", status);
}

TEST(KeychainWithoutBus, ReportsAnError)
{
    ::setenv("DBUS_SESSION_BUS_ADDRESS", "unix:path=/nonexistent/bus", 1);
    EXPECT_EQ(loaded(), notRead(300));
    ::unsetenv("DBUS_SESSION_BUS_ADDRESS");
}

/// The tests share one bus, because a process never changes its session bus.
class KeychainTests : public testing::Test {
protected:
    static Keyring& shared()
    {
        static Keyring one;
        return one;
    }

    KeychainTests() { keyring.restart(Keyring::State::unlocked); }

    Keyring& keyring = shared();
};

TEST_F(KeychainTests, KeepsOneSecretForEachAccount)
{
    EXPECT_EQ(saved(" con blancos y ñ "), "");
    EXPECT_EQ(loaded(), " con blancos y ñ ");
    EXPECT_EQ(saved("otro"), "");
    EXPECT_EQ(loaded(), "otro");
    EXPECT_EQ(loaded(Interaction::allowed), "otro");
    EXPECT_EQ(loaded(Interaction::forbidden, "other"), notRead(-25'300));
    for (const auto* blank : {"", "   ", "\t\r\n"})
        EXPECT_EQ(saved(blank),
            "La credencial está vacía. Pulsa Leer del llavero antes de guardar; se conserva la credencial anterior.");
    EXPECT_EQ(loaded(), "otro");
    EXPECT_EQ(saved("\xFF\xFE"), "");
    EXPECT_EQ(loaded(), notRead(0)) << "not text";
    EXPECT_EQ(saved("de nuevo"), "");
    keyring.restart(Keyring::State::unlocked);
    EXPECT_EQ(loaded(), "de nuevo");
}

TEST_F(KeychainTests, FailsWhenLockedAndAskingIsForbidden)
{
    ASSERT_EQ(saved("secreto"), "");
    keyring.restart(Keyring::State::locked);
    EXPECT_EQ(loaded(), notRead(2));
    EXPECT_EQ(saved("otro"), notSaved(2));
    keyring.restart(Keyring::State::unlocked);
    EXPECT_EQ(loaded(), "secreto");
}

TEST_F(KeychainTests, ReportsAMissingOrSilentService)
{
    ASSERT_EQ(saved("secreto"), "");
    keyring.freeze();
    EXPECT_EQ(loaded(), notRead(124));
    EXPECT_EQ(loaded(Interaction::allowed), notRead(124));
    EXPECT_EQ(saved("otro"), notSaved(124));
    std::stop_source stop;
    const std::jthread canceller([&] { stop.request_stop(); });
    EXPECT_THROW(Keychain::load("adminToken", Interaction::forbidden, stop.get_token()), Cancelled);

    keyring.restart(Keyring::State::absent);
    EXPECT_EQ(loaded(), notRead(202));
    EXPECT_EQ(saved("otro"), notSaved(202));
}

/// A service that asks the user for a password.
class KeychainPrompt : public KeychainTests {
protected:
    using User = PromptingKeyring::User;

    KeychainPrompt() { keyring.restart(Keyring::State::absent); }

    /// Longer than the limit for the service's answers.
    static constexpr std::chrono::milliseconds longer{6'500};
};

TEST_F(KeychainPrompt, WaitsForTheUserWithoutALimit)
{
    {
        const PromptingKeyring desktop({.thinks = longer});
        EXPECT_EQ(loaded(), notRead(2));
        EXPECT_EQ(saved("otro"), notSaved(2));
        EXPECT_EQ(desktop.asked(), 0);
        EXPECT_EQ(loaded(Interaction::allowed), "secreto");
        EXPECT_EQ(desktop.asked(), 1);
        // The keyring stays unlocked.
        EXPECT_EQ(loaded(), "secreto");
        EXPECT_EQ(saved("otro"), "");
        EXPECT_EQ(loaded(Interaction::allowed), "otro");
        EXPECT_EQ(desktop.asked(), 1);
    }
    // The desktop creates a keyring for the first secret.
    const PromptingKeyring desktop({.secret = "", .thinks = longer});
    EXPECT_EQ(loaded(Interaction::allowed), notRead(-25'300));
    EXPECT_EQ(desktop.asked(), 0);
    EXPECT_EQ(saved("nuevo"), "");
    EXPECT_EQ(desktop.asked(), 1);
    EXPECT_EQ(desktop.secret(), "nuevo");
}

TEST_F(KeychainPrompt, ReportsWhenTheUserRefuses)
{
    {
        const PromptingKeyring desktop({.user = User::refuses});
        EXPECT_EQ(loaded(Interaction::allowed), notRead(119));
        EXPECT_EQ(desktop.asked(), 1);
        EXPECT_EQ(loaded(), notRead(2)) << "still locked";
        EXPECT_EQ(loaded(Interaction::allowed), notRead(119)) << "asks again";
        EXPECT_EQ(desktop.secret(), "secreto");
    }
    const PromptingKeyring desktop({.secret = "", .user = User::refuses});
    EXPECT_EQ(saved("nuevo"), notSaved(119));
    EXPECT_EQ(desktop.secret(), "");
}

TEST_F(KeychainPrompt, StopsWaitingWhenCancelledOrTheServiceFails)
{
    const auto whenAsked = [](const PromptingKeyring& desktop, const std::function<void()>& act) {
        return std::jthread([&desktop, act] {
            EXPECT_TRUE(pollUntil([&] { return desktop.asked() > 0; }));
            act();
        });
    };
    {
        const PromptingKeyring desktop({.user = User::isAway});
        std::stop_source stop;
        const auto canceller = whenAsked(desktop, [&] { stop.request_stop(); });
        EXPECT_THROW(Keychain::load("adminToken", Interaction::allowed, stop.get_token()), Cancelled);
        EXPECT_TRUE(pollUntil([&] { return desktop.takenBack() > 0; })) << "the prompt is dismissed";
    }
    {
        auto desktop = std::make_unique<PromptingKeyring>(PromptingKeyring::Setup{.user = User::isAway});
        const auto end = whenAsked(*desktop, [&] { desktop.reset(); });
        EXPECT_THAT(loaded(Interaction::allowed), MatchesRegex(".*\\([1-9][0-9]*\\)\\.")) << "the service has ended";
    }
    const PromptingKeyring desktop({.isSilentAfterwards = true});
    EXPECT_EQ(loaded(Interaction::allowed), notRead(124)) << "the user answers, but the service does not";
    EXPECT_EQ(desktop.asked(), 1);
}

} // namespace

} // namespace orvo::test
