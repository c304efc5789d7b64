#include "Platform/Keychain.h"
#include "TestSupport/Keyring.h"
#include "VideoCore/Error.h"

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
    try {
        return Keychain::load(account, interaction);
    } catch (const std::exception& error) {
        return describe(error);
    }
}

std::string saved(const std::string& value)
{
    try {
        Keychain::save(value, "adminToken");
    } catch (const std::exception& error) {
        return describe(error);
    }
    return "";
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

TEST(KeychainWithoutBus, IsAnError)
{
    ::setenv("DBUS_SESSION_BUS_ADDRESS", "unix:path=/nonexistent/bus", 1);
    EXPECT_EQ(loaded(), notRead(300));
    ::unsetenv("DBUS_SESSION_BUS_ADDRESS");
}

/// One bus for all of them: a process has one session bus for its life.
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
    EXPECT_EQ(loaded(), notRead(0)) << "no text";
    EXPECT_EQ(saved("de nuevo"), "");
    keyring.restart(Keyring::State::unlocked);
    EXPECT_EQ(loaded(), "de nuevo");
}

TEST_F(KeychainTests, ALockedKeychainAsksOnlyWhenItMay)
{
    ASSERT_EQ(saved("secreto"), "");
    keyring.restart(Keyring::State::locked);
    EXPECT_EQ(loaded(), notRead(2));
    EXPECT_EQ(saved("otro"), notSaved(2));
    // There is nobody to be asked here: either it says so, or it goes on asking until that is cancelled.
    std::stop_source stop;
    std::jthread canceller([&] {
        std::this_thread::sleep_for(std::chrono::seconds(7));
        stop.request_stop();
    });
    try {
        Keychain::load("adminToken", Interaction::allowed, stop.get_token());
        ADD_FAILURE() << "it is locked";
    } catch (const Cancelled&) {
        SUCCEED();
    } catch (const Error& error) {
        EXPECT_THAT(error.what(), MatchesRegex(".*\\(1[0-9][0-9]\\)\\."));
    }
    keyring.restart(Keyring::State::unlocked);
    EXPECT_EQ(loaded(), "secreto");
}

TEST_F(KeychainTests, AServiceThatIsMissingOrSilentIsAnError)
{
    ASSERT_EQ(saved("secreto"), "");
    keyring.freeze();
    EXPECT_EQ(loaded(), notRead(124));
    EXPECT_EQ(loaded(Interaction::allowed), notRead(124));
    EXPECT_EQ(saved("otro"), notSaved(124));
    std::stop_source stop;
    std::jthread canceller([&] { stop.request_stop(); });
    EXPECT_THROW(Keychain::load("adminToken", Interaction::forbidden, stop.get_token()), Cancelled);

    keyring.restart(Keyring::State::absent);
    EXPECT_EQ(loaded(), notRead(202));
    EXPECT_EQ(saved("otro"), notSaved(202));
}

} // namespace

} // namespace orvo::test
