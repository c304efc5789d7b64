#include "OrvoVideo/model/RegionPicker.h"
#include "OrvoVideo/model/RegionView.h"
#include "Platform/settings/StoredSettings.h"
#include "TestDesktop.h"
#include "TestSupport/EventLoop.h"
#include "TestSupport/TemporaryFolder.h"

#include <QGuiApplication>
#include <QScreen>
#include <QWindow>
#include <gtest/gtest.h>

namespace orvo::test {

namespace {

const CaptureSource left{.id = "d1", .displayID = 1, .rect = {0, 0, 640, 800}};
const CaptureSource right{.id = "d2", .displayID = 2, .rect = {640, 0, 1280, 800}};

/// The picker over a monitor of a real display, operated by pointer and keyboard.
class RegionSelectorTests : public testing::Test {
protected:
    RegionSelectorTests() { ::setenv("XDG_CONFIG_HOME", settings.path().c_str(), 1); }
    ~RegionSelectorTests() override
    {
        StoredSettings::finish();
        ::unsetenv("XDG_CONFIG_HOME");
    }

    /// Forgets the last region.
    void forget()
    {
        StoredSettings::finish();
        std::filesystem::remove(StoredSettings::file());
    }

    const TemporaryFolder settings;

    /// Opens the picker over a source, runs xdotool with `before` and then with `words`, and returns the answer.
    std::optional<Rect> pick(
        const CaptureSource& source, const QStringList& words, const QStringList& before = {"sleep", "0"})
    {
        std::optional<std::optional<Rect>> answer;
        EXPECT_TRUE(picker->pick(source, [&](std::optional<Rect> region) {
            EXPECT_FALSE(answer) << "it answers once";
            answer = region;
        }));
        EXPECT_TRUE(comesToHold([] {
            const auto* window = QGuiApplication::focusWindow();
            return window && window->isExposed();
        }));
        EXPECT_TRUE(testDesktop().xdotool(before));
        EXPECT_TRUE(testDesktop().xdotool(words));
        EXPECT_TRUE(comesToHold([&] { return answer.has_value(); }));
        return answer.value_or(std::nullopt);
    }

    static QStringList drag(int fromX, int fromY, int toX, int toY)
    {
        const auto at = [](int x, int y) {
            return QStringList{"mousemove", QString::number(x), QString::number(y), "sleep", "0.1"};
        };
        return at(fromX, fromY) + QStringList{"mousedown", "1"} + at((fromX + toX) / 2, (fromY + toY) / 2) + at(toX, toY)
            + QStringList{"mouseup", "1"};
    }

    std::unique_ptr<RegionPicker> picker = RegionPicker::create();
};

TEST_F(RegionSelectorTests, ReturnsTheDraggedRegionInDisplayPixels)
{
    ASSERT_EQ(QGuiApplication::screens().size(), 2);
    ASSERT_EQ(screenOf(right.rect)->devicePixelRatio(), 1.5);
    struct Case {
        const CaptureSource& source;
        QStringList words;
        Rect expected;
    };
    for (const auto& [source, words, expected] : {
             Case{left, drag(100, 200, 400, 500), {100, 200, 300, 300}},
             Case{left, drag(400, 500, 100, 200), {100, 200, 300, 300}}, // The other way round.
             Case{right, drag(700, 60, 1300, 360), {700, 60, 600, 300}},
             Case{right, drag(1900, 700, 1000, 30), {1000, 30, 900, 670}},
             Case{left, drag(300, 200, 900, 500), {300, 200, 340, 300}}, // Over the edge to the other monitor.
             Case{right, drag(1000, 300, 200, 100), {640, 100, 360, 200}},
         }) {
        forget(); // A drag inside the last region would move it.
        const auto region = pick(source, words);
        ASSERT_TRUE(region);
        // Pointer positions are whole pixels, window positions whole units.
        EXPECT_NEAR(region->x, expected.x, 1.5);
        EXPECT_NEAR(region->y, expected.y, 1.5);
        EXPECT_NEAR(region->width, expected.width, 1.5);
        EXPECT_NEAR(region->height, expected.height, 1.5);
    }
}

TEST_F(RegionSelectorTests, CancelsOnEscapeClickAndSmallDrag)
{
    EXPECT_EQ(pick(left, {"key", "Escape"}), std::nullopt);
    EXPECT_EQ(pick(left, {"mousemove", "200", "200", "click", "1"}), std::nullopt);
    EXPECT_EQ(pick(left, drag(100, 100, 120, 300)), std::nullopt);
    EXPECT_TRUE(pick(left, drag(100, 100, 121, 121), {"key", "x"})) << "other keys do nothing";
}

TEST_F(RegionSelectorTests, RestoresAndEditsTheLastRegion)
{
    forget();
    EXPECT_EQ(pick(left, {"key", "Escape"}), std::nullopt);
    ASSERT_TRUE(pick(left, drag(100, 200, 400, 500)));
    struct Case {
        const char* what;
        QStringList before;
        Rect expected;
    };
    const auto same = [](const std::optional<Rect>& region, const Rect& expected) {
        return region && std::abs(region->x - expected.x) < 2 && std::abs(region->y - expected.y) < 2
            && std::abs(region->width - expected.width) < 2 && std::abs(region->height - expected.height) < 2;
    };
    for (const auto& [what, before, expected] : {
             Case{"unchanged", {"sleep", "0"}, {100, 200, 300, 300}},
             Case{"resized by its lower right handle", drag(400, 500, 450, 520), {100, 200, 350, 320}},
             Case{"resized by its left edge", drag(100, 300, 60, 300), {60, 200, 390, 320}},
             Case{"moved as far as the edge", drag(200, 300, 200, 100), {60, 0, 390, 320}},
             Case{"resized to the minimum", drag(450, 320, 10, 2), {60, 0, 21, 21}},
         })
        EXPECT_TRUE(same(pick(left, {"key", "Return"}, before), expected)) << what;
    EXPECT_TRUE(same(pick(left, drag(200, 200, 300, 300)), {200, 200, 100, 100})) << "a new region";
    EXPECT_EQ(pick(right, {"mousemove", "1000", "300", "click", "1"}, {"key", "Return"}), std::nullopt)
        << "the last region is on the other monitor";
}

TEST_F(RegionSelectorTests, OpensNoPickerWithoutAScreenForTheSource)
{
    CaptureSource gone = left;
    gone.rect.x = 5000;
    EXPECT_FALSE(picker->pick(gone, [](auto) { FAIL(); }));
    CaptureSource window = left;
    window.displayID.reset();
    EXPECT_FALSE(picker->pick(window, [](auto) { FAIL(); }));

    int answers = 0;
    EXPECT_TRUE(picker->pick(left, [&](std::optional<Rect> region) {
        EXPECT_FALSE(region);
        ++answers;
    }));
    picker.reset();
    EXPECT_EQ(answers, 1) << "the destructor answers without a region";
}

} // namespace

} // namespace orvo::test
