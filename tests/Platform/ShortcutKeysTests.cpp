#include "Platform/shortcuts/ShortcutKeys.h"

#include "Platform/shortcuts/PortalShortcutKeys.h"
#include "Platform/shortcuts/VirtualKeys.h"
#include "TestSupport/EventLoop.h"
#include "TestSupport/FakePortal.h"
#include "TestSupport/PrivateBus.h"
#include "TestSupport/VirtualDisplay.h"

#include <gmock/gmock.h>
#include <memory>

namespace orvo::test {

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

constexpr std::uint32_t three = ShortcutKeys::control | ShortcutKeys::option | ShortcutKeys::command;
constexpr std::uint32_t keyR = 15;
constexpr std::uint32_t keyP = 35;
constexpr std::uint32_t key9 = 25;

/// Combinations on a virtual X11 display.
class ShortcutKeysTests : public testing::Test {
protected:
    ShortcutKeysTests()
    {
        display.enter();
        keys = ShortcutKeys::create();
        QObject::connect(keys.get(), &ShortcutKeys::pressed, [this](quint32 id) { heard.push_back(id); });
    }

    /// Presses combinations, then a sentinel that is always granted, and returns the identifiers emitted before it.
    std::vector<quint32> press(const QStringList& words)
    {
        heard.clear();
        EXPECT_TRUE(display.xdotool(QStringList{"key"} + words + QStringList{"ctrl+alt+super+m"}));
        EXPECT_TRUE(comesToHold([&] { return !heard.empty() && heard.back() == last.id; }));
        if (!heard.empty())
            heard.pop_back();
        return heard;
    }

    const ShortcutKeys::Combination last{.id = 99, .keyCode = 46, .modifiers = three};
    VirtualDisplay display;
    std::unique_ptr<ShortcutKeys> keys;
    std::vector<quint32> heard;
};

TEST_F(ShortcutKeysTests, ReportsCombinationsInEveryLockKeyState)
{
    EXPECT_EQ(keys->support(), ShortcutKeys::Support::ours);
    keys->listen(
        {{1, keyR, three, {}}, {2, keyP, three, {}}, {3, key9, ShortcutKeys::command | ShortcutKeys::shift, {}}, last});
    EXPECT_THAT(press({"ctrl+alt+super+r", "ctrl+alt+super+p"}), ElementsAre(1, 2));
    EXPECT_THAT(press({"super+shift+9"}), ElementsAre(3));
    EXPECT_THAT(press({"Caps_Lock", "ctrl+alt+super+r"}), ElementsAre(1));
    EXPECT_THAT(press({"Num_Lock", "ctrl+alt+super+r"}), ElementsAre(1));
    EXPECT_THAT(press({"Caps_Lock", "ctrl+alt+super+r"}), ElementsAre(1));
    EXPECT_THAT(
        press({"Num_Lock", "ctrl+alt+r", "alt+super+r", "r", "ctrl+alt+super+shift+r", "ctrl+alt+super+q"}), IsEmpty())
        << "ignores other combinations";

    keys->listen({{7, keyP, three, {}}, last});
    EXPECT_THAT(press({"ctrl+alt+super+r", "ctrl+alt+super+p"}), ElementsAre(7)) << "replaces the earlier combinations";
}

TEST_F(ShortcutKeysTests, ReportsAHeldCombinationOnce)
{
    keys->listen({{1, keyR, three, {}}, last});
    ASSERT_TRUE(display.xdotool({"keydown", "ctrl", "keydown", "alt", "keydown", "super", "keydown", "r", "sleep", "1.5",
        "keyup", "r", "key", "r", "keyup", "super", "keyup", "alt", "keyup", "ctrl"}));
    EXPECT_TRUE(comesToHold([&] { return heard.size() >= 2; }));
    const auto before = heard;
    EXPECT_THAT(press({}), IsEmpty());
    EXPECT_THAT(before, ElementsAre(1, 1)) << "one for the held press, one for the next";
}

TEST_F(ShortcutKeysTests, SkipsCombinationsOfOtherPrograms)
{
    const auto other = ShortcutKeys::create();
    std::vector<quint32> heardByOther;
    QObject::connect(other.get(), &ShortcutKeys::pressed, [&](quint32 id) { heardByOther.push_back(id); });
    other->listen({{5, keyR, three, {}}});

    keys->listen({{1, keyR, three, {}}, {2, keyP, three, {}}, last});
    EXPECT_THAT(press({"ctrl+alt+super+r", "ctrl+alt+super+p"}), ElementsAre(2));
    EXPECT_TRUE(comesToHold([&] { return !heardByOther.empty(); }));
    EXPECT_THAT(heardByOther, ElementsAre(5));
    EXPECT_FALSE(keys->hears(1));
    EXPECT_TRUE(keys->hears(2));

    other->listen({});
    EXPECT_FALSE(other->hears(5));
    keys->listen({{1, keyR, three, {}}, last});
    EXPECT_THAT(press({"ctrl+alt+super+r"}), ElementsAre(1)) << "free again";
    EXPECT_TRUE(keys->hears(1));
}

TEST(VirtualKeysTests, MapsEventsToKeysAndTexts)
{
    struct Case {
        int qtKey;
        std::uint32_t scanCode;
        std::optional<std::uint32_t> code;
    };
    for (const auto& [qtKey, scanCode, code] : {
             Case{Qt::Key_R, 27, 15},
             Case{Qt::Key_ParenLeft, 18, 25}, // Shift and 9
             Case{Qt::Key_Equal, 19, 24}, // The symbol takes precedence over the scan code.
             Case{Qt::Key_F12, 0, 111},
             Case{Qt::Key_Control, 37, std::nullopt},
             Case{Qt::Key_Ntilde, 47, std::nullopt},
         }) {
        const auto* key = VirtualKeys::ofEvent(qtKey, scanCode);
        EXPECT_EQ(key ? std::optional(key->code) : std::nullopt, code) << qtKey;
    }
    EXPECT_EQ(VirtualKeys::text(keyR, three), "⌃⌥⌘R");
    EXPECT_EQ(VirtualKeys::text(key9, ShortcutKeys::command | ShortcutKeys::shift), "⇧⌘9");
    EXPECT_EQ(VirtualKeys::text(999, three), "⌃⌥⌘?");
}

/// Combinations bound by the desktop portal.
class PortalShortcutKeysTests : public testing::Test {
protected:
    PrivateBus bus;
    QDBusConnection connection = QDBusConnection::connectToBus(bus.address(), "application " + bus.address());
};

TEST_F(PortalShortcutKeysTests, ProposesCombinationsAndReportsThoseOfItsSession)
{
    FakePortal portal(bus.address());
    PortalShortcutKeys keys(connection);
    std::vector<quint32> heard;
    QObject::connect(&keys, &ShortcutKeys::pressed, [&](quint32 id) { heard.push_back(id); });
    EXPECT_EQ(keys.support(), ShortcutKeys::Support::none);

    keys.listen({{1, keyR, three, "Grabar / terminar"}, {2, 999, three, "Pausar / continuar"}});
    ASSERT_TRUE(comesToHold([&] { return keys.support() == ShortcutKeys::Support::desktop; }));
    ASSERT_EQ(portal.shortcuts.size(), 2);
    EXPECT_EQ(portal.shortcuts[0].id, "1");
    EXPECT_EQ(portal.shortcuts[0].properties,
        (QVariantMap{{"description", "Grabar / terminar"}, {"preferred_trigger", "CTRL+ALT+LOGO+r"}}));
    EXPECT_EQ(portal.shortcuts[1].properties, (QVariantMap{{"description", "Pausar / continuar"}}));
    portal.activate("1");
    ASSERT_TRUE(comesToHold([&] { return !heard.empty(); }));

    keys.listen({{2, keyP, three, {}}});
    ASSERT_TRUE(comesToHold([&] { return portal.shortcuts.size() == 1 && portal.openSessions.size() == 1; }))
        << "ends the earlier session";
    portal.activate("2");
    ASSERT_TRUE(comesToHold([&] { return heard.size() == 2; }));
    EXPECT_THAT(heard, ElementsAre(1, 2));

    portal.revoke();
    EXPECT_TRUE(comesToHold([&] { return keys.support() == ShortcutKeys::Support::none; }));
}

TEST_F(PortalShortcutKeysTests, BindsAgainWhenThePortalRestarts)
{
    auto portal = std::make_unique<FakePortal>(bus.address());
    PortalShortcutKeys keys(connection);
    quint32 heard = 0;
    QObject::connect(&keys, &ShortcutKeys::pressed, [&](quint32 id) { heard = id; });
    keys.listen({{1, keyR, three, "Grabar / terminar"}});
    ASSERT_TRUE(comesToHold([&] { return keys.support() == ShortcutKeys::Support::desktop; }));
    for (const bool isStoppedFirst : {true, false}) {
        portal.reset();
        if (isStoppedFirst) {
            ASSERT_TRUE(comesToHold([&] { return keys.support() == ShortcutKeys::Support::none; }));
        }
        portal = std::make_unique<FakePortal>(bus.address());
        ASSERT_TRUE(comesToHold([&] { return portal->shortcuts.size() == 1 && portal->openSessions.size() == 1; }));
        ASSERT_TRUE(comesToHold([&] { return keys.support() == ShortcutKeys::Support::desktop; }));
        portal->activate("1");
        ASSERT_TRUE(comesToHold([&] { return heard == 1; }));
        heard = 0;
    }
}

TEST_F(PortalShortcutKeysTests, ReportsNoSupportWhenThePortalIsMissingOrRefuses)
{
    PortalShortcutKeys keys(connection);
    keys.listen({{1, keyR, three, {}}});
    EXPECT_EQ(keys.support(), ShortcutKeys::Support::none);

    FakePortal portal(bus.address());
    portal.decision = FakePortal::Decision::refuse;
    keys.listen({{1, keyR, three, {}}});
    ASSERT_TRUE(comesToHold([&] { return !portal.shortcuts.empty(); }));
    EXPECT_EQ(keys.support(), ShortcutKeys::Support::none);
}

} // namespace

} // namespace orvo::test
