#include "OrvoVideo/model/ShortcutManager.h"

#include "ModelFixture.h"
#include "Platform/settings/StoredSettings.h"

#include <QSignalSpy>

namespace orvo::test {

namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using Action = ShortcutManager::Action;

constexpr std::uint32_t usual = 0x1900;

class ShortcutManagerTests : public testing::Test {
protected:
    ShortcutManagerTests() { qputenv("XDG_CONFIG_HOME", QByteArray::fromStdString(folder.path().string())); }
    ~ShortcutManagerTests() override { StoredSettings::finish(); }

    /// Makes a new manager, as at the start of the application.
    ShortcutManager& start()
    {
        manager.reset();
        auto own = std::make_unique<FakeShortcutKeys>();
        keys = own.get();
        manager = std::make_unique<ShortcutManager>(std::move(own));
        return *manager;
    }

    std::vector<std::pair<std::uint32_t, std::uint32_t>> heard() const
    {
        std::vector<std::pair<std::uint32_t, std::uint32_t>> result;
        for (const auto& combination : keys->combinations)
            result.emplace_back(combination.keyCode, combination.modifiers);
        return result;
    }

    TemporaryFolder folder;
    FakeShortcutKeys* keys = nullptr;
    std::unique_ptr<ShortcutManager> manager;
};

TEST_F(ShortcutManagerTests, RegistersDefaultAndStoredCombinations)
{
    auto& first = start();
    EXPECT_THAT(heard(), ElementsAre(std::pair(15, usual), std::pair(35, usual), std::pair(6, usual)));
    EXPECT_EQ(first.text(Action::Record), "⌃⌥⌘R");

    const QSignalSpy changed(&first, &ShortcutManager::bindingsChanged);
    first.set(Action::Zoom, 25, 0x300);
    EXPECT_EQ(StoredSettings::text("shortcut.3"), R"({"keyCode":25,"modifiers":768})");
    EXPECT_THAT(heard(), ElementsAre(std::pair(15, usual), std::pair(35, usual), std::pair(25, 0x300)));
    EXPECT_EQ(first.text(Action::Zoom), "⇧⌘9");
    EXPECT_EQ(changed.size(), 1);

    EXPECT_EQ(start().binding(Action::Zoom), (ShortcutManager::Binding{25, 0x300})) << "kept between runs";
    EXPECT_EQ(start().binding(Action::Pause), (ShortcutManager::Binding{35, usual}));
}

TEST_F(ShortcutManagerTests, UsesTheDefaultForUnreadableCombinations)
{
    for (const char* stored : {"", "\x01 garbage", "[15,6400]", "{}", R"({"keyCode":3})",
             R"({"keyCode":"3","modifiers":768})", R"({"keyCode":-3,"modifiers":768})", R"({"keyCode":3.5,"modifiers":768})",
             R"({"keyCode":4294967296,"modifiers":768})"}) {
        StoredSettings::setText("shortcut.2", stored);
        EXPECT_EQ(start().binding(Action::Pause), (ShortcutManager::Binding{35, usual})) << stored;
    }
    StoredSettings::setText("shortcut.2", R"({ "modifiers": 768, "keyCode": 4294967295 })");
    EXPECT_EQ(start().binding(Action::Pause), (ShortcutManager::Binding{4294967295U, 768}));
}

TEST_F(ShortcutManagerTests, ReportsAPressAfterItsEventHasReturned)
{
    const auto& shortcuts = start();
    std::vector<Action> reported;
    QObject::connect(&shortcuts, &ShortcutManager::pressed, [&](Action action) { reported.push_back(action); });
    for (const std::uint32_t id : {3U, 0U, 4U, 1U, 2U})
        keys->press(id);
    EXPECT_THAT(reported, IsEmpty());
    QCoreApplication::processEvents();
    EXPECT_THAT(reported, ElementsAre(Action::Zoom, Action::Record, Action::Pause));
}

TEST_F(ShortcutManagerTests, AcceptsTwoModifiersAndRegistersNoneWhileTyping)
{
    auto& shortcuts = start();
    shortcuts.holdBack();
    EXPECT_THAT(heard(), IsEmpty());
    EXPECT_FALSE(shortcuts.capture(Action::Pause, Qt::Key_M, Qt::ControlModifier, 0)) << "needs two modifiers";
    EXPECT_FALSE(shortcuts.capture(Action::Pause, Qt::Key_Control, Qt::ControlModifier | Qt::AltModifier, 37))
        << "a modifier is no key";
    EXPECT_EQ(shortcuts.binding(Action::Pause).keyCode, 35U);
    EXPECT_TRUE(shortcuts.capture(Action::Pause, Qt::Key_M, Qt::ControlModifier | Qt::ShiftModifier, 0));
    EXPECT_EQ(shortcuts.binding(Action::Pause), (ShortcutManager::Binding{46, 0x1200}));
    EXPECT_THAT(heard(), IsEmpty()) << "not registered before `listen`";
    shortcuts.listen();
    EXPECT_THAT(heard(), ElementsAre(std::pair(15, usual), std::pair(46, 0x1200), std::pair(6, usual)));
}

TEST_F(ShortcutManagerTests, NamesCombinationsUsedByOtherPrograms)
{
    auto& shortcuts = start();
    EXPECT_TRUE(shortcuts.hears(Action::Record));
    EXPECT_EQ(shortcuts.supportText(), "");
    keys->refused = {1, 3};
    EXPECT_FALSE(shortcuts.hears(Action::Record));
    EXPECT_TRUE(shortcuts.hears(Action::Pause));
    EXPECT_EQ(shortcuts.supportText(),
        "Otro programa usa ⌃⌥⌘R y ⌃⌥⌘Z. Elige otra combinación, o usa el icono de la bandeja o la ventana.");
    shortcuts.holdBack();
    EXPECT_EQ(shortcuts.supportText(), "") << "none is registered while typing";
}

} // namespace

} // namespace orvo::test
